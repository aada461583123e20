#pragma once

#include "app/look/Theme.h"
#include "app/shell/Application.h"
#include "app/waveform/WaveformView.h"
#include "app/waveform/WaveformWidget.h"
#include "app/window/DocumentWindow.h"
#include "controllers/DisplayController.h"
#include "platform/FileHandle.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <stdexcept>

/// What the tests of windows share: sound files of known samples, an editor to open them in, pictures on
/// request.
namespace velloria::test
{

/// A sample of a test sound, from -1 to 1.
using Sound = std::function<double(int channel, int64_t frame)>;

/// Loud in the first half, silent in the second.
inline double loudThenSilent(int64_t frame, int64_t numFrames)
{
    return frame < numFrames / 2 ? 0.9 * std::sin(0.05 * static_cast<double>(frame)) : 0.0;
}

template <typename Integer> void appendLittle(QByteArray& bytes, Integer value)
{
    for (size_t i = 0; i < sizeof(Integer); ++i)
        bytes.append(static_cast<char>(static_cast<uint64_t>(value) >> (8 * i)));
}

/// A WAVE file of 16 bits.
inline QByteArray waveBytes(int64_t numFrames, int numChannels, int rate, const Sound& sound)
{
    const auto dataBytes = static_cast<uint32_t>(2 * numChannels * numFrames);
    QByteArray bytes = "RIFF";
    appendLittle<uint32_t>(bytes, 36 + dataBytes);
    bytes += "WAVEfmt ";
    appendLittle<uint32_t>(bytes, 16);
    appendLittle<uint16_t>(bytes, 1);
    appendLittle<uint16_t>(bytes, static_cast<uint16_t>(numChannels));
    appendLittle<uint32_t>(bytes, static_cast<uint32_t>(rate));
    appendLittle<uint32_t>(bytes, static_cast<uint32_t>(2 * numChannels * rate));
    appendLittle<uint16_t>(bytes, static_cast<uint16_t>(2 * numChannels));
    appendLittle<uint16_t>(bytes, 16);
    bytes += "data";
    appendLittle<uint32_t>(bytes, dataBytes);
    for (int64_t frame = 0; frame < numFrames; ++frame)
        for (int channel = 0; channel < numChannels; ++channel)
            appendLittle<int16_t>(bytes, static_cast<int16_t>(std::lround(32767 * sound(channel, frame))));
    return bytes;
}

/// Saves a picture of a widget to the folder in VELLORIA_SCREENSHOTS, if a person asked for pictures.
inline void keepPicture(QWidget& widget, const QString& name)
{
    const QString folder = qEnvironmentVariable("VELLORIA_SCREENSHOTS");
    if (!folder.isEmpty())
        widget.grab().save(QDir(folder).filePath(name + QStringLiteral(".png")));
}

/// Handles events until the condition holds; false after a minute, which only a failing test takes.
inline bool waitUntil(const std::function<bool()>& condition)
{
    return QTest::qWaitFor(condition, 60000);
}

/// Answers the next modal dialog of a kind, as soon as it is there. Several can wait for one after the other.
template <typename Dialog> void whenShown(const std::function<void(Dialog&)>& answer)
{
    auto* const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, answer] {
        auto* const dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible())
            return;
        timer->stop();
        timer->deleteLater();
        answer(*dialog);
    });
    timer->start(10);
}

/// The bar, dock or dialog of a kind in a window, which must have it.
template <class Part> Part& part(const DocumentWindow& window)
{
    auto* const found = window.findChild<Part*>();
    if (!found)
        throw std::logic_error("the window has no such part");
    return *found;
}

/// An editor with a folder for its files.
class AppTest : public testing::Test
{
protected:
    std::filesystem::path path(const std::string& name) const
    {
        return std::filesystem::path(mFolder.path().toStdString()) / name;
    }

    std::filesystem::path makeFile(const std::string& name, const QByteArray& bytes) const
    {
        QFile file(QFile::decodeName(path(name).c_str()));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        return path(name);
    }

    /// A second of stereo that is loud, then silent, and softer on the right.
    std::filesystem::path makeSound(const std::string& name = "sound.wav", int64_t numFrames = 44100) const
    {
        return makeFile(name, waveBytes(numFrames, 2, 44100, [numFrames](int channel, int64_t frame) {
                            return loudThenSilent(frame, numFrames) * (channel == 0 ? 1.0 : 0.4);
                        }));
    }

    /// Silent stereo of any length that takes no room on the disk.
    std::filesystem::path makeLongSound(const std::string& name, int64_t numFrames) const
    {
        QByteArray header = waveBytes(0, 2, 44100, {});
        const auto dataBytes = static_cast<uint32_t>(4 * numFrames);
        for (const auto& [offset, value] : {std::pair{4, 36 + dataBytes}, std::pair{40, dataBytes}}) {
            QByteArray size;
            appendLittle<uint32_t>(size, value);
            header.replace(offset, 4, size);
        }
        const std::filesystem::path file = makeFile(name, header);
        std::filesystem::resize_file(file, 44 + uint64_t{dataBytes});
        return file;
    }

    /// Opens a file and waits for its window to be drawn.
    DocumentWindow* open(const std::filesystem::path& file)
    {
        editor.openFiles({file});
        DocumentWindow* found = nullptr;
        const bool isOpen = waitUntil([&] {
            for (DocumentWindow* const window : editor.windows()) {
                if (window->document().filePath() == file && !window->isOpening())
                    found = window;
            }
            return found && !editor.isOpening() &&
                   found->controller().display().waveformRenderProgress() >= 1;
        });
        EXPECT_TRUE(isOpen);
        EXPECT_TRUE(found && QTest::qWaitForWindowExposed(found));
        return found;
    }

    QTemporaryDir mFolder;
    Application editor;
};

} // namespace velloria::test
