#pragma once

#include "document/SoundDocument.h"

#include <QElapsedTimer>
#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

namespace velloria
{

class ProgressPanel;

/// Opens one file on a thread of its own, so that a slow disk freezes nothing; a panel with Cancel appears
/// when it takes more than a second. The handler is called once, on the main thread, with the document or the
/// error, unless the job is destroyed before. A cancelled read that hangs is left to itself.
class OpenJob : public QObject
{
    Q_OBJECT

public:
    using Handler = std::function<void(std::shared_ptr<SoundDocument>, MaybeError)>;

    explicit OpenJob(const std::filesystem::path& path, QObject* parent = nullptr);
    ~OpenJob() override;

    void start(Handler handler);

    const std::filesystem::path& path() const { return mPath; }

private:
    struct Shared;
    void showProgress();
    void cancel();
    void finish(std::shared_ptr<SoundDocument> document, MaybeError error);

    std::filesystem::path mPath;
    Handler mHandler;
    std::shared_ptr<Shared> mShared;
    std::unique_ptr<ProgressPanel> mPanel;
    QElapsedTimer mElapsed;
    QTimer mTimer;
};

} // namespace velloria
