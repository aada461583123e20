#include "formats/tagediting/Id3Intake.h"
#include "formats/tags/AudioMetadata.h"
#include "formats/tags/Id3Frames.h"
#include "formats/tags/Id3Parser.h"
#include "formats/tags/Id3TestTags.h"

#include <gtest/gtest.h>

namespace velloria
{
namespace
{

using test::bytes;
using test::synchSafe;
using test::tag;
using test::version2Frame;
using test::version3Frame;
using test::version4Frame;

QByteArray text3(const char* id, const QByteArray& text)
{
    return version3Frame(id, '\0' + text);
}

/// Everything of a tag that is not in the model, which must go with the tag. All bytes must be accounted for.
QStringList told(const QByteArray& tag)
{
    AudioMetadata metadata;
    const auto ledger = takeInId3Tag(tag, metadata);
    EXPECT_TRUE(ledger);
    EXPECT_TRUE(ledger->undeclared(tag.size()).empty()) << tag.toHex(' ').toStdString();
    const auto names = [&ledger](ItemKind kind) {
        EXPECT_EQ(ledger->namesNotKept(kind), QStringList());
        return ledger->namesOf(kind, [](const FileItem& item) { return item.keeping == Keeping::withTag; });
    };
    return names(ItemKind::tag) + names(ItemKind::part) + names(ItemKind::value);
}

TEST(Id3LedgerTest, NamesWhatTheModelDoesNotHold)
{
    const QByteArray title = text3("TIT2", "T");
    const QByteArray png = bytes("\0\3\0\x89PNG");
    const struct {
        QByteArray frames;
        QStringList names;
    } cases[] = {
        {title, {}},
        {title + title, {}},
        {title + text3("TIT2", ""), {}},
        {text3("TIT2", "A") + text3("TIT2", "B"), {"title “A”"}},
        {text3("TDRC", "2010-10-11") + text3("TYER", "2010"), {"year “2010-10-11”"}},
        {text3("TPUB", "P"), {"publisher"}},
        {text3("TSSE", "Lavf60") + text3("TLEN", "1000"), {}},
        {text3("TENC", "me"), {"source encoder"}},
        {version3Frame("TXXX", bytes("\0MOOD\0good")), {"MOOD"}},
        {version3Frame("PRIV", bytes("owner\0x")), {"PRIV (owner)"}},
        {version3Frame("TIT2", bytes("\0x"), '\x80'), {"TIT2 (compressed or encrypted)"}},
        {version3Frame("TIT2", bytes("\7x")), {"TIT2 (damaged)"}},
        {version3Frame("COMM", bytes("\0eng\0a\0")) + version3Frame("COMM", bytes("\0eng\0bb")),
         {"comments “a”"}},
        {version3Frame("COMM", bytes("\0eng\0a")), {"comments “a”"}},
        {version3Frame("COMM", bytes("\0eng\0aa")) + version3Frame("COMM", bytes("\0engsource\0bb")),
         {"comments “source”"}},
        {version3Frame("COMM", bytes("\0engiTunNORM\0 0000")), {"comments “iTunNORM”"}},
        {version3Frame("COMM", bytes("\0engsource\0bb")), {"comments “source” loses its description"}},
        {version3Frame("USLT", bytes("\0deu\0la la")), {"language of lyrics “deu” becomes “eng”"}},
        {version3Frame("COMM", bytes("\0eng")), {"COMM (damaged)"}},
        {version3Frame("APIC", bytes("\0image/png") + png), {}},
        {version3Frame("APIC", bytes("\0image/gif\0\3\0GIF89a")), {}},
        {version3Frame("APIC", bytes("\0-->\0\3\0http://a/b.png")), {"linked picture"}},
        {text3("TPE1", bytes("A\0B")), {"artist “A”, “B” becomes “A; B”"}},
        {text3("TPE1", bytes("A\0B")) + text3("TPE1", "C"), {"artist “A; B”"}},
        {text3("TBPM", "120.5"), {"tempo “120.5” becomes “120”"}},
        {text3("TBPM", "0"), {}},
        {text3("TRCK", "A1"), {"track number “A1”"}},
        {text3("TRCK", "0/12"), {"track number “0/12”"}},
        {text3("TRCK", "0"), {}},
        {title + "TPE1" + bytes("\xFF\xFF\xFF\xFF\0\0\0A"), {"a damaged part of the ID3 tag (22 bytes)"}},
        {title + bytes("\0\0\0\0") + text3("TPE1", "A"), {"a damaged part of the ID3 tag (26 bytes)"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(told(tag(3, c.frames)).join('|').toStdString(), c.names.join('|').toStdString())
            << c.frames.toHex(' ').toStdString();
}

TEST(Id3LedgerTest, CoversEveryKindOfTag)
{
    const QByteArray footer = "3DI" + bytes("\4\0\x10") + synchSafe(0);
    const QByteArray unsynchronised =
        "TIT2" + bytes("\0\0\0\3\0\0\0\xFF\0\xFF") + text3("TPUB", "P") + text3("TIT2", "x");
    const struct {
        QByteArray tag;
        QStringList names;
    } cases[] = {
        {tag(2, version2Frame("TT2", bytes("\0T")) + version2Frame("PIC", bytes("\0GIF\3\0GIF89a")) +
                    version2Frame("XYZ", "x")),
         {"XYZ", "picture (GIF)"}},
        {tag(2, version2Frame("TCO", bytes("\0(17)Rock"))), {}},
        {tag(2, version2Frame("TCO", bytes("\0(4)Eurodisco"))), {"genre “(4)Eurodisco” becomes “Disco”"}},
        {tag(2, version2Frame("TCO", bytes("\0(80s) Rock"))), {}},
        {tag(2, ""), {}},
        {tag(3, unsynchronised, '\x80'), {"title “ÿÿ”", "publisher"}},
        {tag(3, bytes("\0\0\0\x06\0\0\0\0\0\0") + text3("TIT2", "T"), '\x40'), {}},
        {tag(4, version4Frame("TIT2", bytes("\0T")) + version4Frame("TMOO", bytes("\0m"))), {"TMOO"}},
        {tag(4, version4Frame("TIT2", bytes("\0T")), '\x10') + footer, {}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(told(c.tag).join('|').toStdString(), c.names.join('|').toStdString())
            << c.tag.toHex(' ').toStdString();
}

// The places of the frames are those of the bytes as they are stored.
TEST(Id3LedgerTest, GivesThePlacesOfFramesInUnsynchronisedTags)
{
    const QByteArray first = "TIT2" + bytes("\0\0\0\4\0\0\0\xFF\0\xFF\0\xFF");
    const QByteArray second = text3("TPUB", "P");
    FileLedger ledger;
    ASSERT_TRUE(parseId3Tag(tag(3, first + second, '\x80'), &ledger));
    ASSERT_EQ(ledger.items().size(), 1U);
    EXPECT_EQ(ledger.items()[0].bytes, (ByteRange{10 + first.size(), second.size()}));
}

// A save writes what was read; what comes back otherwise must have been told.
TEST(Id3LedgerTest, EveryValueThatComesBackAlteredWasTold)
{
    const char* const values[] = {"120.5",
                                  "A1",
                                  "0/12",
                                  "/12",
                                  "12/",
                                  "3/12/1",
                                  "01/02",
                                  " 7 ",
                                  "-3",
                                  "true",
                                  "(80s) Rock",

                                  "99999999999999999999",
                                  "1"};
    for (const Id3Frame& frame : id3Frames()) {
        const QString key = frame.keyString();
        if (frame.kind != Id3FrameKind::text || frame.version34ID.empty() ||
            !AudioMetadata::dictionaryKeys().contains(key) || key == MetadataKey::encodingApplication)
            continue;
        for (const char* const value : values) {
            SCOPED_TRACE(key.toStdString() + "=" + value);
            AudioMetadata metadata;
            const auto ledger =
                takeInId3Tag(tag(3, text3(std::string(frame.version34ID).c_str(), value)), metadata);
            ASSERT_TRUE(ledger);
            AudioMetadata again;
            again.setValuesWithID3Data(metadata.id3Data());
            EXPECT_EQ(ledger->items().empty(), again.dictionary().value(key).toString() == value);
        }
    }
}

} // namespace
} // namespace velloria
