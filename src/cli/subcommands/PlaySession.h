#pragma once

#include "cli/subcommands/Subcommand.h"
#include "cli/terminal/KeyReader.h"
#include "cli/terminal/LevelLine.h"
#include "document/DocumentTransport.h"
#include "document/SoundDocument.h"

#include <QCoreApplication>
#include <QTimer>

namespace velloria
{

/// Plays a document from the terminal until it is over, somebody ends it, or the device goes away. Runs the
/// event loop.
class PlaySession : private DocumentController
{
public:
    PlaySession(std::shared_ptr<SoundDocument> document, const SoundSelection& selection);
    ~PlaySession() override;

    ExitStatus run();

private:
    void setNumTracks(int32_t) override {}
    void reload() override {}
    void markersDidChange() override {}
    void playbackDidStop() override;

    void takeKey(KeyReader::Key key);
    void seekTo(double time);
    void pauseOrPlay();
    void update();
    void end(ExitStatus status);

    std::shared_ptr<SoundDocument> mDocument;
    SoundSelection mSelection;
    std::optional<double> mPausedAt;
    bool mIsEnding = false;
    ExitStatus mStatus = ExitStatus::done;
    LevelLine mLine;
    PeakHolder::Peaks mPeaks; ///< as shown last
    KeyReader mKeys;
    QTimer mTimer;
};

} // namespace velloria
