#pragma once

#include "document/SoundDocument.h"
#include "formats/decoding/DecodingWatcher.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

namespace velloria
{

class ProgressPanel;

/// Opens one file on a thread of its own, so that a slow disk freezes nothing. When it takes more than a
/// moment, its owner hears of the sound that is decoded so far, to show it; without that (the file declares
/// no length, or finding its sound takes long) a panel with Cancel appears. The handler is called once, on
/// the main thread, with the document or the error, unless the job is destroyed before. A cancelled read that
/// hangs is left to itself.
class OpenJob : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(std::shared_ptr<SoundDocument>, MaybeError)>;

    explicit OpenJob(const std::filesystem::path& path, QObject* parent = nullptr);
    ~OpenJob() override;

    void start(Handler handler);
    /// The handler is called with a cancellation before this returns.
    void cancel();

    const std::filesystem::path& path() const { return mPath; }

Q_SIGNALS:
    /// At most once: the file is being decoded, which takes a while.
    void decodingBegan(const velloria::DecodingStart& start);
    /// Some times a second after that: a fraction, and "12 seconds" or nothing.
    void progressed(double value, const QString& remaining);

private:
    struct Shared;
    void showProgress();
    void finish(std::shared_ptr<SoundDocument> document, MaybeError error);

    std::filesystem::path mPath;
    Handler mHandler;
    std::shared_ptr<Shared> mShared;
    std::unique_ptr<ProgressPanel> mPanel;
    QElapsedTimer mElapsed;
    QTimer mTimer;
    bool mToldDecoding = false;
};

} // namespace velloria
