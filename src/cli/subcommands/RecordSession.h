#pragma once

#include "cli/subcommands/Subcommand.h"
#include "cli/terminal/KeyReader.h"
#include "cli/terminal/LevelLine.h"
#include "controllers/AutoRecordGate.h"
#include "document/DocumentRecording.h"
#include "document/SoundDocument.h"

#include <QTimer>

namespace velloria
{

/// Records into a document from the terminal until it is as long as wanted, somebody ends it, or the device
/// goes away. Runs the event loop.
class RecordSession final : private VLRTAudioRecordingDelegate
{
public:
    struct Settings {
        std::optional<int64_t> numFrames;                ///< at the document's rate
        std::optional<AutoRecordGate::Settings> trigger; ///< only what is loud enough
    };

    RecordSession(SoundDocument& document, const Settings& settings);

    /// An error when there is nothing that could be saved. What ended a recording early is said, and is a
    /// failure, too; what was recorded until then is in the document.
    ExitStatus run();

private:
    bool audioRecording(VLRTAudioRecorder& recorder, const FloatBuffer& leftData,
                        const FloatBuffer& rightData) override;
    void audioRecordingDidStop(VLRTAudioRecorder& recorder) override;

    bool keep(VLRTAudioRecorder& recorder, const FloatBuffer& left, const FloatBuffer& right);
    void update();
    void end();

    SoundDocument& mDocument;
    const Settings mSettings;
    AutoRecordGate mGate;
    float mLeftPeak = 0.0F;
    float mRightPeak = 0.0F;
    LevelLine mLine;
    KeyReader mKeys;
    QTimer mTimer;
};

} // namespace velloria
