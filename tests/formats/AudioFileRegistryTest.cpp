#include "formats/AudioFileRegistry.h"

#include "formats/kit/FileTestKit.h"

namespace velloria
{
namespace
{

using namespace test;
using namespace AudioFileRegistry;

class AudioFileRegistryTest : public FileTest
{
};

TEST_F(AudioFileRegistryTest, FindsTypesByAnyOfTheirNamesInAnyCase)
{
    const struct {
        QString name;
        QString uti;
    } cases[] = {
        {"AIFF", "public.aiff-audio"},
        {"aif", "public.aiff-audio"},
        {"AIFC", "public.aifc-audio"},
        {"adts aac", "public.aac-audio"},
        {"caf", "com.apple.coreaudio-format"},
        {"FLAC Audio", "org.videolan.flac"},
        {"m4a", "public.mpeg-4-audio.aac"},
        {"Lossless", "public.mpeg-4-audio.apple-lossless"},
        {"NEXT", "public.ulaw-audio"},
        {"MPEG3", "public.mp3"},
        {"Ogg Vorbis", "org.videolan.ogg-audio"},
        {"txt", "public.plain-text"},
        {"BWF", "com.microsoft.waveform-audio"},
        {"wave audio", "com.microsoft.waveform-audio"},
        {"COM.MICROSOFT.WAVEFORM-AUDIO", "com.microsoft.waveform-audio"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UTIWithTypeName(c.name), c.uti);
        ASSERT_TRUE(typeWithName(c.name));
        EXPECT_EQ(typeWithName(c.name), typeWithUTI(c.uti));
    }
    EXPECT_EQ(UTIWithTypeName("no such type"), "public.mpeg-4-audio.aac");
    EXPECT_EQ(typeWithName("no such type"), nullptr);
    EXPECT_EQ(typeWithUTI("com.apple.quicktime-movie"), nullptr);
}

TEST_F(AudioFileRegistryTest, FindsTypesByExtension)
{
    const struct {
        QString extension;
        QString displayName;
    } cases[] = {{"aif", "AIFF Audio"},        {"AIFF", "AIFF Audio"},      {"aifc", "AIFF-C Audio"},
                 {"m4a", "AAC (m4a) Audio"},   {"aac", "ADTS AAC Audio"},   {"ulw", "NeXT/Sun Audio"},
                 {"mp2", "MP3 Audio"},         {"ogg", "Ogg Vorbis Audio"}, {"bwf", "WAVE Audio"},
                 {"txt", "Tab-delimited Text"}};
    for (const auto& c : cases) {
        ASSERT_TRUE(typeWithExtension(c.extension)) << c.extension.toStdString();
        EXPECT_EQ(typeWithExtension(c.extension)->displayName, c.displayName);
    }
    EXPECT_EQ(typeWithExtension("doc"), nullptr);
    // What only opens is no name to save under.
    for (const char* extension : {"mp4", "mov", "m4b", "oga", "rf64", "bw64", "mp1", "adts"}) {
        EXPECT_EQ(typeWithExtension(extension), nullptr) << extension;
        EXPECT_TRUE(typeOpenedByExtension(extension)) << extension;
        EXPECT_TRUE(extensionsForOpen().contains(extension)) << extension;
    }
    EXPECT_EQ(typeOpenedByExtension("txt"), nullptr);
    EXPECT_EQ(typeOpenedByExtension("MOV")->uti, "public.mpeg-4-audio.aac");
    EXPECT_EQ(typeWithExtension(""), nullptr);
}

TEST_F(AudioFileRegistryTest, MakesAWriterOfEveryTypeItOffers)
{
    EXPECT_FALSE(writableTypes().empty());
    for (const AudioFileType* type : writableTypes()) {
        const auto file = audioFileWithUTI(type->uti, 48000.0, 24, 3);
        ASSERT_TRUE(file);
        EXPECT_EQ(file->fileFormatUTI(), type->uti);
        EXPECT_EQ(file->displayTypeName(), type->displayName);
        EXPECT_EQ(file->defaultFileExtension(), type->extensionsForSave.first());
        EXPECT_EQ(file->validFileExtensionsForSave(), type->extensionsForSave);
        EXPECT_EQ(file->sampleRate(), 48000.0);
        EXPECT_EQ(file->numberOfChannels(), 3U);
    }
    // A movie is written as plain AAC.
    EXPECT_EQ(audioFileWithUTI("com.apple.quicktime-movie", 48000.0, 24, 2)->fileFormatUTI(),
              "public.mpeg-4-audio.aac");
    const LogCapture log;
    EXPECT_FALSE(audioFileWithUTI("public.jpeg", 44100.0, 16, 2));
    EXPECT_TRUE(log.hasLogged("Audio file not created because UTI not recognized: public.jpeg"));
}

TEST_F(AudioFileRegistryTest, OpensByNameElseByHeader)
{
    const LogCapture log;
    const QByteArray waveFile = wave({}, "abcdefgh");
    for (const std::string name : {"a.wav", "a.WAV", "a.aif", "a.mp3", "a.txt", "a.unknown", "a", ".wav"}) {
        makeFile(name, waveFile);
        MaybeError error;
        const auto file = audioFileWithPath(path(name), &error);
        ASSERT_TRUE(file) << name;
        EXPECT_EQ(file->fileFormatUTI(), "com.microsoft.waveform-audio");
        EXPECT_EQ(file->filePath(), path(name));
    }
    for (const QString typeName : {"WAVE", "AIFF", "nonsense", ""})
        EXPECT_TRUE(audioFileWithTypeName(typeName, path("a"), nullptr)) << typeName.toStdString();
    EXPECT_FALSE(audioFileWithTypeName("text", makeFile("t.txt", "0.5\t0.5\n"), nullptr));
    EXPECT_TRUE(log.hasLogged("UTI not recognized: public.plain-text"));
}

TEST_F(AudioFileRegistryTest, SaysInOneSentenceWhyAFileCannotBeOpened)
{
    const LogCapture log;
    std::filesystem::create_directory(path("folder.wav"));
    const struct {
        std::filesystem::path path;
        QString message;
    } cases[] = {
        {makeFile("empty.wav", ""), "“empty.wav” is empty."},
        {makeFile("text.wav", "Just words."), "“text.wav” is not a sound file that Velloria can read."},
        {makeFile("text", QByteArray(100000, '\0')), "“text” is not a sound file that Velloria can read."},
        // The header's own complaint is kept, also when the name says something else.
        {makeFile("lie.aif", riff("")), "“lie.aif” cannot be read: its format chunk is missing."},
        {path("folder.wav"), "folder.wav is a folder."},
        {path("missing.wav"), "missing.wav could not be opened: No such file or directory"},
    };
    for (const auto& c : cases) {
        MaybeError error;
        EXPECT_FALSE(audioFileWithPath(c.path, &error));
        ASSERT_TRUE(error);
        EXPECT_EQ(error->message, c.message);
    }
}

} // namespace
} // namespace velloria
