#include "formats/tags/ID3Data.h"

#include "formats/tags/Id3TestTags.h"

#include <QTemporaryDir>
#include <fstream>
#include <gtest/gtest.h>

namespace velloria
{
namespace
{

using test::bytes;
using test::version3Frame;

class ID3DataFile : public testing::Test
{
protected:
    std::filesystem::path path() const { return mFolder.path().toStdString() + "/sound.mp3"; }

    std::optional<ID3Data> read(const QByteArray& contents) const
    {
        std::ofstream(path(), std::ios::binary).write(contents.constData(), contents.size());
        return ID3Data::id3DataWithFile(path());
    }

private:
    QTemporaryDir mFolder;
};

TEST_F(ID3DataFile, TakesTheTagAtItsStart)
{
    const QByteArray tag = test::tag(3, version3Frame("TIT2", bytes("\0T")));
    const auto read = this->read(tag + QByteArray(500, '\xFF'));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->tagData(), tag);
    EXPECT_EQ(read->length(), tag.size());
    EXPECT_EQ(read->dictionary(), (MetadataDictionary{{"title", "T"}}));

    // A version that nobody knows still has a length, which is not sound.
    const auto unknown = this->read(test::tag(9, "frames") + QByteArray(500, '\xFF'));
    ASSERT_TRUE(unknown);
    EXPECT_EQ(unknown->length(), 26);
    EXPECT_TRUE(unknown->dictionary().isEmpty());
}

TEST_F(ID3DataFile, EndsWithTheFileWhateverItClaims)
{
    QByteArray tag = test::tag(3, version3Frame("TIT2", bytes("\0T")) + QByteArray(200, '\0'));
    tag.replace(6, 4, "\x7F\x7F\x7F\x7F");
    const auto read = this->read(tag);
    ASSERT_TRUE(read);
    EXPECT_EQ(read->tagData(), tag);
    EXPECT_LT(read->tagData().capacity(), 4096);
    EXPECT_EQ(read->dictionary().value("title"), "T");
}

TEST_F(ID3DataFile, HasNoneWhereThereIsNone)
{
    EXPECT_FALSE(read(QByteArray(500, '\xFF')));
    EXPECT_FALSE(read(test::tag(3, version3Frame("TIT2", bytes("\0T"))).first(30)));
    EXPECT_FALSE(read(QByteArray(100, '\0') + test::tag(3, version3Frame("TIT2", bytes("\0T"))) +
                      QByteArray(128, '\0')));
    EXPECT_FALSE(ID3Data::id3DataWithFile(path().parent_path()));
    EXPECT_FALSE(ID3Data::id3DataWithFile(path().parent_path() / "absent"));
}

} // namespace
} // namespace velloria
