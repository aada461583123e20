#include "document/clips/TempFile.h"

#include "formats/streams/BigEndianOutputStream.h"
#include "platform/FourCharCode.h"
#include "platform/ScratchFolder.h"
#include "platform/SystemCall.h"

#include <algorithm>
#include <unistd.h>

namespace velloria
{

namespace
{

constexpr uint32_t kFloatFlag = 1;
constexpr uint32_t kLittleEndianFlag = 2;
constexpr uint32_t kBytesPerPacket = sizeof(float);
// The data run to the end of the file, whose length is not known yet.
constexpr int64_t kOpenEnded = -1;

} // namespace

std::shared_ptr<TempFile> TempFile::create(double sampleRate, MaybeError* error, const QByteArray& note)
{
    auto handle = ScratchFolder::createFile(error);
    if (!handle)
        return nullptr;
    std::shared_ptr<TempFile> file(new TempFile(std::move(handle)));
    const QByteArray header = headerWithSampleRate(sampleRate);
    if (auto failure = file->mFileHandle->writeAt(0, header)) {
        if (error)
            *error = std::move(failure);
        return nullptr;
    }
    file->mLength.store(header.size(), std::memory_order_release);
    if (!note.isEmpty())
        ScratchFolder::setNote(file->path(), note);
    return file;
}

TempFile::TempFile(std::shared_ptr<FileHandle> handle)
    : mFileHandle(std::move(handle))
{
}

TempFile::~TempFile()
{
    if (!mIsLeftBehind)
        deleteTempFile();
}

void TempFile::deleteTempFile()
{
    ScratchFolder::removeFile(path());
}

MaybeError TempFile::appendData(std::span<const float> samples)
{
    const int64_t end = mLength.load(std::memory_order_relaxed);
    const auto bytes = std::as_bytes(samples);
    if (auto error = mFileHandle->writeAt(end, bytes)) {
        // What was written of the block goes again; should that fail too, length() still leaves it out.
        uninterrupted([&] { return ::ftruncate(mFileHandle->descriptor(), end); });
        return error;
    }
    mLength.store(end + static_cast<int64_t>(bytes.size()), std::memory_order_release);
    return std::nullopt;
}

int64_t TempFile::dataAtOffset(int64_t offset, std::span<std::byte> out) const
{
    const int64_t available = length() - offset;
    if (offset < 0 || available <= 0)
        return 0;
    const auto wanted = out.first(std::min(out.size(), static_cast<size_t>(available)));
    const int64_t numRead = mFileHandle->readAt(offset, wanted);
    if (numRead < std::ssize(wanted))
        mFileHandle->noteMissedRead();
    return numRead;
}

const std::filesystem::path& TempFile::path() const
{
    return mFileHandle->path();
}

std::filesystem::path TempFile::tempPath()
{
    return ScratchFolder::path();
}

QByteArray TempFile::headerWithSampleRate(double sampleRate)
{
    BigEndianOutputStream description;
    description.writeFloat64(sampleRate);
    description.writeUInt32(fourCharCode("lpcm"));
    description.writeUInt32(kFloatFlag | kLittleEndianFlag);
    description.writeUInt32(kBytesPerPacket);
    description.writeUInt32(1);  // frames per packet
    description.writeUInt32(1);  // channels per frame
    description.writeUInt32(32); // bits per channel

    BigEndianOutputStream header;
    header.writeUInt32(fourCharCode("caff"));
    header.writeUInt16(1); // version
    header.writeUInt16(0); // flags
    header.writeCafChunk(fourCharCode("desc"), description.data());
    header.writeUInt32(fourCharCode("data"));
    header.writeSInt64(kOpenEnded);
    header.writeUInt32(0); // edit count
    return header.data();
}

} // namespace velloria
