#include "formats/kit/DecodingTestKit.h"

#include <cerrno>
#include <sys/syscall.h>

namespace
{

/// Counts down to the read that fails; below it none does.
std::atomic<int> gNumReadsUntilFailure{-1};
std::atomic<int> gNumReads{0};

} // namespace

// The program's own definition goes before the system library's, also for calls from within the libraries.
extern "C" ssize_t pread(int descriptor, void* data, size_t size, off_t offset)
{
    gNumReads.fetch_add(1);
    if (gNumReadsUntilFailure.fetch_sub(1) == 0) {
        errno = EIO;
        return -1;
    }
    return ::syscall(SYS_pread64, descriptor, data, size, offset);
}

namespace velloria::test
{

/// A disk of which single reads fail.
class FailingDiskTest : public DecodingTest
{
protected:
    /// Opens a file while the read of a number, counted from 0, fails; none does for -1.
    std::shared_ptr<AudioFile> openedWithout(int read, const std::string& name, MaybeError* error) const
    {
        gNumReads = 0;
        gNumReadsUntilFailure = read;
        auto file = AudioFileRegistry::audioFileWithPath(path(name), error);
        gNumReadsUntilFailure = -1;
        return file;
    }

    /// Each read of an opening fails once.
    void expectRefusalAtEveryRead(const std::string& name) const
    {
        MaybeError error;
        ASSERT_TRUE(openedWithout(-1, name, &error)) << error->message.toStdString();
        const int numReads = gNumReads;
        ASSERT_GT(numReads, 1);
        for (int read = 0; read < numReads; ++read) {
            SCOPED_TRACE(name + ", read " + std::to_string(read) + " of " + std::to_string(numReads));
            error.reset();
            EXPECT_FALSE(openedWithout(read, name, &error));
            ASSERT_TRUE(error);
            EXPECT_EQ(error->code, Error::Code::readFailed);
            EXPECT_EQ(
                error->message,
                QStringLiteral("Some of “%1” could not be read; its disk may be failing or out of reach.")
                    .arg(QString::fromStdString(name)));
        }
        EXPECT_TRUE(openedWithout(-1, name, &error)) << "the disk is well again";
    }
};

TEST_F(FailingDiskTest, OpensNoFileOfWhichItMissedBytes)
{
    for (const AudioFileType* type : AudioFileRegistry::writableTypes()) {
        if (!type->open)
            continue;
        const auto writer = AudioFileRegistry::audioFileWithUTI(type->uti, 44100.0, 16, 2);
        AudioMetadata metadata;
        metadata.setTitle("Title");
        metadata.setComments("Comment");
        writer->setMetadata(metadata);
        writer->setMarkers(markerList({{1000, "here"}, {2000, "there"}}));
        writer->validateAndCorrectParameters();
        const std::string name = "out." + type->defaultExtension.toStdString();
        save(*writer, name, noiseDocument(3000, 2));
        expectRefusalAtEveryRead(name);
    }
}

TEST_F(FailingDiskTest, OpensNoChunksThatWouldBeSavedWithoutTheirBytes)
{
    makeFile("kept.wav", wave({}, noiseBytes(4000, 1),
                              chunk("bext", QByteArray(642, 'b')) + chunk("iXML", "<BWFXML></BWFXML>") +
                                  chunk("what", QByteArray(60, 'w'))));
    expectRefusalAtEveryRead("kept.wav");
}

} // namespace velloria::test
