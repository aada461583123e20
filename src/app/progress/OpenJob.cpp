#include "app/progress/OpenJob.h"

#include "app/look/ItemNames.h"
#include "app/progress/ProgressClock.h"
#include "app/progress/ProgressPanel.h"
#include "platform/DispatchQueue.h"

#include <QCoreApplication>
#include <atomic>
#include <mutex>
#include <optional>
#include <thread>

namespace velloria
{

namespace
{

constexpr int kProgressMilliseconds = 83;
constexpr qint64 kShownAfterMilliseconds = 1000;
// What is done sooner is shown at once when it is complete.
constexpr qint64 kDecodingShownAfterMilliseconds = 250;

} // namespace

/// What the reading thread and the job share; the thread may outlive the job.
struct OpenJob::Shared : public Progress, public DecodingWatcher {
    void setProgressValue(double newValue) override { value = newValue; }
    bool isCancelled() const override { return wasCancelled; }
    void decodingDidBegin(const DecodingStart& start) override
    {
        const std::lock_guard lock(mutex);
        decoding = start;
    }
    std::optional<DecodingStart> takeDecoding()
    {
        const std::lock_guard lock(mutex);
        return std::exchange(decoding, std::nullopt);
    }

    std::atomic<double> value = 0;
    std::atomic<bool> wasCancelled = false;
    OpenJob* job = nullptr; ///< main thread; null when it is gone

private:
    std::mutex mutex;
    std::optional<DecodingStart> decoding;
};

OpenJob::OpenJob(const std::filesystem::path& path, QObject* parent)
    : QObject(parent)
    , mPath(path)
    , mShared(std::make_shared<Shared>())
{
    connect(&mTimer, &QTimer::timeout, this, &OpenJob::showProgress);
}

void OpenJob::start(Handler handler)
{
    mHandler = std::move(handler);
    mShared->job = this;
    mElapsed.start();
    mTimer.start(kProgressMilliseconds);
    std::thread([shared = mShared, path = mPath] {
        MaybeError error;
        std::shared_ptr<SoundDocument> document =
            SoundDocument::readFromPath(path, QString(), *shared, &error, shared.get());
        postToMainThread([shared, document = std::move(document), error = std::move(error)]() mutable {
            if (shared->job)
                shared->job->finish(std::move(document), std::move(error));
        });
    }).detach();
}

OpenJob::~OpenJob()
{
    mShared->wasCancelled = true;
    mShared->job = nullptr;
}

void OpenJob::showProgress()
{
    ProgressClock clock;
    const ProgressClock::Display display =
        clock.update(static_cast<double>(mElapsed.elapsed()) / 1000, mShared->value);
    if (!mToldDecoding && !mPanel && mElapsed.elapsed() >= kDecodingShownAfterMilliseconds) {
        const std::optional<DecodingStart> decoding = mShared->takeDecoding();
        mToldDecoding = decoding && decoding->expectedFrames > 0 && !decoding->clips.empty();
        if (mToldDecoding)
            Q_EMIT decodingBegan(*decoding);
    }
    if (mToldDecoding) {
        Q_EMIT progressed(display.value, display.remaining);
        return;
    }
    if (mElapsed.elapsed() < kShownAfterMilliseconds)
        return;
    if (!mPanel) {
        //: %1 is the name of a file
        //% "Opening “%1”"
        mPanel = std::make_unique<ProgressPanel>(qtTrId("opening").arg(ItemNames::shown(displayName(mPath))));
        mPanel->setAttribute(Qt::WA_QuitOnClose, false);
        connect(mPanel.get(), &ProgressPanel::cancelRequested, this, &OpenJob::cancel);
    }
    mPanel->show(display);
}

void OpenJob::cancel()
{
    // The read may hang in the system: its end is not waited for.
    mShared->wasCancelled = true;
    mShared->job = nullptr;
    finish(nullptr, Error::cancelled());
}

void OpenJob::finish(std::shared_ptr<SoundDocument> document, MaybeError error)
{
    mTimer.stop();
    if (mPanel) {
        // Its Cancel button may be what called.
        mPanel->hide();
        mPanel.release()->deleteLater();
    }
    if (!document && !error)
        error = Error::cancelled();
    mShared->job = nullptr;
    const Handler handler = std::move(mHandler);
    if (handler)
        handler(std::move(document), std::move(error));
}

} // namespace velloria
