#include "formats/ledger/FileLedger.h"

#include <gmock/gmock.h>
#include <random>

namespace velloria
{

namespace
{

using testing::ElementsAre;

TEST(FileLedger, WhatNoItemCoversIsUndeclaredWhateverTheOrderOfItems)
{
    std::mt19937 random(1);
    for (int trial = 0; trial < 300; ++trial) {
        constexpr int64_t fileLength = 200;
        std::vector<bool> isCovered(fileLength, false);
        FileLedger ledger;
        for (int i = 0; i < 12; ++i) {
            const ByteRange bytes = {static_cast<int64_t>(random() % 210),
                                     static_cast<int64_t>(random() % 30)};
            ledger.addStructure(bytes);
            for (int64_t at = bytes.offset; at < std::min(bytes.end(), fileLength); ++at)
                isCovered[static_cast<size_t>(at)] = true;
        }
        std::vector<bool> isDeclared(fileLength, true);
        for (const ByteRange& gap : ledger.undeclared(fileLength)) {
            EXPECT_GT(gap.length, 0);
            for (int64_t at = gap.offset; at < gap.end(); ++at)
                isDeclared[static_cast<size_t>(at)] = false;
        }
        EXPECT_EQ(isDeclared, isCovered) << "trial " << trial;
    }
}

TEST(FileLedger, WhatNobodyDeclaredCountsAsNotKept)
{
    FileLedger ledger;
    ledger.addStructure({0, 44});
    ledger.addInModel({44, 1000});
    ledger.declareRest(1060);
    EXPECT_THAT(ledger.namesNotKept(ItemKind::part), ElementsAre("16 bytes of unknown use at 1044"));
    EXPECT_TRUE(ledger.undeclared(1060).empty());
}

TEST(FileLedger, NamesAreCountedAndNoMoreThanAPersonWouldRead)
{
    FileLedger ledger;
    for (const char* name : {"PRIV", "GEOB", "PRIV"})
        ledger.addNotKept(ItemKind::tag, QString::fromLatin1(name));
    ledger.add({ItemKind::tag, Keeping::asBytes, QStringLiteral("UFID"), {}});
    EXPECT_THAT(ledger.namesNotKept(ItemKind::tag), ElementsAre("PRIV (2 times)", "GEOB"));
    EXPECT_TRUE(ledger.namesNotKept(ItemKind::stream).isEmpty());
    for (int i = 0; i < 1000; ++i)
        ledger.addNotKept(ItemKind::part, QString::number(i));
    const QStringList parts = ledger.namesNotKept(ItemKind::part);
    EXPECT_EQ(parts.size(), 51);
    EXPECT_EQ(parts.last(), "and 950 more");
}

TEST(FileLedger, APartReadOnItsOwnIsCountedWhereItStands)
{
    FileLedger tag;
    tag.addStructure({0, 10});
    tag.addNotKept(ItemKind::tag, QStringLiteral("PRIV"), {10, 20});
    FileLedger file;
    file.addNested(tag, 100);
    EXPECT_THAT(file.undeclared(140), ElementsAre(ByteRange{0, 100}, ByteRange{130, 10}));
    ASSERT_EQ(file.items().size(), 1U);
    EXPECT_EQ(file.items().front().bytes, (ByteRange{110, 20}));
}

} // namespace

} // namespace velloria
