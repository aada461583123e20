#include "app/kit/AppTestKit.h"
#include "app/menus/DocumentMenus.h"
#include "app/menus/FileActions.h"
#include "app/progress/OpenJob.h"
#include "app/progress/OpeningBar.h"
#include "controllers/DisplayController.h"
#include "controllers/TransportController.h"

#include <QMenuBar>
#include <QPushButton>

namespace velloria::test
{

class OpeningTest : public AppTest
{
protected:
    static constexpr int64_t kNumFrames = 441000;

    OpeningTest()
        : job(path("talk.m4a"))
        , clip(MutableAudioClip::clipWithSampleRate(44100))
    {
    }

    void append(int64_t numFrames)
    {
        std::vector<float> samples(static_cast<size_t>(numFrames));
        for (size_t i = 0; i < samples.size(); ++i)
            samples[i] = i % 40 < 20 ? 0.8F : -0.8F;
        EXPECT_FALSE(clip->appendData(samples));
    }

    DocumentWindow& beginOpening()
    {
        editor.newDocument();
        DocumentWindow& window = *editor.windows().front();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&window));
        window.replaceDocument(
            SoundDocument::whileDecoding(path("talk.m4a"), DecodingStart{44100, 16, kNumFrames, {clip}}));
        window.beginOpening(job);
        return window;
    }

    /// Silence as 32-bit floats, which are decoded when the file is opened; it takes no room on the disk.
    std::filesystem::path makeLongFloatSound(const std::string& name, int64_t numFrames) const
    {
        QByteArray bytes = waveBytes(0, 2, 44100, {});
        const auto put = [&bytes](int offset, auto value) {
            QByteArray field;
            appendLittle(field, value);
            bytes.replace(offset, field.size(), field);
        };
        const auto dataBytes = static_cast<uint32_t>(8 * numFrames);
        put(4, 36 + dataBytes);
        put(20, uint16_t{3});
        put(28, uint32_t{8 * 44100});
        put(32, uint16_t{8});
        put(34, uint16_t{32});
        put(40, dataBytes);
        const std::filesystem::path file = makeFile(name, bytes);
        std::filesystem::resize_file(file, 44 + uint64_t{dataBytes});
        return file;
    }

    static bool hasInk(DocumentWindow& window, double time)
    {
        const FloatBuffer pairs = window.controller().display().minMaxDataFrom(time, time + 0.1, 0.1, 0);
        return pairs.size() >= 2 && pairs[1] > 0.5F;
    }

    static QList<bool> menuStates(const DocumentWindow& window)
    {
        QList<bool> states;
        for (const QAction* const menu : window.menuBar()->actions())
            states << menu->isEnabled();
        return states;
    }

    OpenJob job;
    std::shared_ptr<MutableAudioClip> clip;
};

TEST_F(OpeningTest, TheSoundDecodedSoFarIsShownButNotForChanging)
{
    append(kNumFrames / 2);
    DocumentWindow& window = beginOpening();
    EXPECT_EQ(window.document().numberOfFrames(), kNumFrames);
    EXPECT_TRUE(hasInk(window, 2));
    EXPECT_FALSE(hasInk(window, 8));
    EXPECT_TRUE(menuStates(window).contains(false));
    EXPECT_FALSE(window.menus().file().saveAction()->isEnabled());

    append(kNumFrames / 4);
    EXPECT_TRUE(window.findChild<OpeningBar*>()->isVisible());
    Q_EMIT job.progressed(0.75, QStringLiteral("9 seconds"));
    EXPECT_TRUE(hasInk(window, 7));
    QCoreApplication::processEvents();
    keepPicture(window, QStringLiteral("opening"));
    window.view().context().zoomCommands().zoomTo(64);
    window.controller().transport().setCueTime(3);

    const std::filesystem::path file = makeSound("talk.wav", kNumFrames);
    SilentProgress silent;
    MaybeError error;
    window.endOpening(SoundDocument::readFromPath(file, {}, silent, &error));
    EXPECT_FALSE(menuStates(window).contains(false));
    EXPECT_EQ(window.findChild<OpeningBar*>(), nullptr);
    EXPECT_DOUBLE_EQ(window.view().context().geometry().zoom(), 64);
    EXPECT_DOUBLE_EQ(window.controller().transport().cueTime(), 3);
}

TEST_F(OpeningTest, CancelAndClosingEndTheOpeningOfALongFile)
{
    // An hour takes longer than the moment after which the window appears.
    const std::filesystem::path file = makeLongFloatSound("float.wav", int64_t{44100} * 3600);
    for (const bool byButton : {true, false}) {
        editor.newDocument();
        editor.openFiles({file});
        const auto openingWindow = [this]() -> DocumentWindow* {
            for (DocumentWindow* const window : editor.windows()) {
                if (window->isOpening())
                    return window;
            }
            return nullptr;
        };
        ASSERT_TRUE(waitUntil([&] { return openingWindow() != nullptr; }));
        if (byButton)
            openingWindow()->findChild<OpeningBar*>()->findChild<QPushButton*>()->click();
        else
            EXPECT_FALSE(openingWindow()->close());
        EXPECT_TRUE(waitUntil([&] { return !openingWindow() && !editor.isOpening(); }));
        for (DocumentWindow* const window : editor.windows())
            EXPECT_TRUE(window->isPristine());
    }
}

TEST_F(OpeningTest, ALongFileThatIsDecodedEndsAsTheWholeDocument)
{
    constexpr int64_t numFrames = 44100 * 180;
    DocumentWindow* const window = open(makeLongFloatSound("float.wav", numFrames));
    ASSERT_NE(window, nullptr);
    EXPECT_FALSE(window->isOpening());
    EXPECT_EQ(window->document().numberOfFrames(), numFrames);
    EXPECT_NE(window->document().audioFile(), nullptr);
}

} // namespace velloria::test
