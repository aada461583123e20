#include "effects/added/AddMoreCowbell.h"

#include "effects/frame/CommonParameters.h"
#include "formats/aiff/AiffFile.h"
#include "platform/FileHandle.h"
#include "platform/Log.h"

#include <QCoreApplication>
#include <QStandardPaths>
#include <algorithm>

namespace velloria
{

namespace
{

const std::vector<ParameterDescription>& describeParameters()
{
    static const std::vector<ParameterDescription> list = {[] {
        ParameterDescription level =
            CommonParameters::level(QStringLiteral("Cowbell level"),
                                    QStringLiteral("Level of the cowbell; 0 dB is as recorded."), 0.0);
        CommonParameters::setKeys(level, QStringLiteral("addMoreCowbell"), QStringLiteral("level"),
                                  QStringLiteral("Amplitude"));
        return level;
    }()};
    return list;
}

} // namespace

AddMoreCowbell::AddMoreCowbell(const QString& name)
    : AddMoreCowbell(name, soundFile())
{
}

AddMoreCowbell::AddMoreCowbell(const QString& name, const std::filesystem::path& sound)
    : Filter(name, describeParameters())
{
    loadSound(sound);
}

std::filesystem::path AddMoreCowbell::soundFile()
{
    const QString name = QStringLiteral("velloria/sounds/cowbell.aiff");
    const std::filesystem::path beside =
        pathFromQString(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/") + name);
    std::error_code ignored;
    if (std::filesystem::exists(beside, ignored))
        return beside.lexically_normal();
    const QString elsewhere = QStandardPaths::locate(QStandardPaths::GenericDataLocation, name);
    return elsewhere.isEmpty() ? beside.lexically_normal() : pathFromQString(elsewhere);
}

void AddMoreCowbell::loadSound(const std::filesystem::path& file)
{
    MaybeError error;
    std::vector<AudioClipPtr> clips;
    if (std::shared_ptr<FileHandle> handle = FileHandle::openForReading(file, &error))
        if (const std::shared_ptr<AudioFile> sound = AiffFile::open(std::move(handle), &error))
            clips = AudioFile::pcmAudioClips(sound);
    if (!clips.empty())
        mCowbellData =
            clips.front()->sampleDataAtOffset(0, std::min(clips.front()->numFrames(), kMostFrames));
    if (!mCowbellData.empty())
        return;
    mWhyMissing = error ? error->message : QStringLiteral("It is no AIFF file with sound.");
    logLine(QStringLiteral("-[AddMoreCowbell loadSound:] %1").arg(mWhyMissing));
}

std::optional<EffectRemark> AddMoreCowbell::remark() const
{
    if (!mCowbellData.empty())
        return std::nullopt;
    return EffectRemark{EffectRemark::Kind::soundMissing, {mWhyMissing}};
}

void AddMoreCowbell::parameterDidChange(size_t)
{
    mAmpFactor = static_cast<float>(factorWithDecibels(parameterValue(0)));
}

void AddMoreCowbell::processingWillBegin()
{
    Filter::processingWillBegin();
    mCowbellIndex = 0;
}

bool AddMoreCowbell::requestDataWithNumFrames(uint64_t numFrames, SampleBlock& block)
{
    if (!Filter::requestDataWithNumFrames(numFrames, block))
        return false;
    if (mCowbellData.empty())
        return true;
    for (FloatBuffer& buffer : block) {
        size_t index = mCowbellIndex;
        for (float& sample : buffer) {
            sample += mCowbellData[index] * mAmpFactor;
            index = index + 1 == mCowbellData.size() ? 0 : index + 1;
        }
    }
    if (!block.empty())
        mCowbellIndex = (mCowbellIndex + block.back().size()) % mCowbellData.size();
    return true;
}

} // namespace velloria
