#include "document/clips/AudioMarker.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <gtest/gtest.h>

namespace velloria
{
namespace
{

MarkerList listOf(std::vector<AudioMarkerPtr> markers)
{
    return std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers));
}

TEST(AudioMarker, CopiesAllFieldsAndTellsSeconds)
{
    const AudioMarker marker(7, 88'200, QStringLiteral("Chorus"));
    const AudioMarkerPtr copy = AudioMarker::markerWithMarker(marker);
    EXPECT_EQ(copy->ident(), 7);
    EXPECT_EQ(copy->position(), 88'200);
    EXPECT_EQ(copy->name(), QStringLiteral("Chorus"));
    EXPECT_EQ(copy->secondsWithSampleRate(44100.0), 2.0);
}

TEST(AudioMarker, ArchivesSurviveAndMayBePadded)
{
    const MarkerList markers =
        listOf({std::make_shared<AudioMarker>(INT32_MIN, INT64_MAX, QStringLiteral("\u00e9\u266b")),
                std::make_shared<AudioMarker>(0, -1, QString())});
    const QByteArray archive = archivedMarkers(markers);
    for (const QByteArray& bytes : {archive, archive + '\0'}) {
        const MarkerList back = markersFromArchive(bytes);
        ASSERT_EQ(back->size(), 2U);
        EXPECT_EQ((*back)[0]->ident(), INT32_MIN);
        EXPECT_EQ((*back)[0]->position(), INT64_MAX);
        EXPECT_EQ((*back)[0]->name(), QStringLiteral("\u00e9\u266b"));
        EXPECT_EQ((*back)[1]->position(), -1);
        EXPECT_TRUE((*back)[1]->name().isEmpty());
    }
    EXPECT_TRUE(markersFromArchive(archivedMarkers(nullptr))->empty());
}

TEST(AudioMarker, WhatIsNoArchiveHoldsNoMarkers)
{
    const QByteArray archive =
        archivedMarkers(listOf({std::make_shared<AudioMarker>(1, 2, QStringLiteral("A"))}));
    for (qsizetype length = 0; length < archive.size(); ++length)
        EXPECT_TRUE(markersFromArchive(archive.first(length))->empty()) << length;
    const auto record = [](const QCborValue& version, const QCborValue& markers) {
        return QCborMap{{QStringLiteral("version"), version}, {QStringLiteral("markers"), markers}}
            .toCborValue()
            .toCbor();
    };
    const QCborMap marker{{QStringLiteral("ident"), 1},
                          {QStringLiteral("position"), 2},
                          {QStringLiteral("name"), QStringLiteral("A")}};
    QCborMap unnamed = marker;
    unnamed.remove(QStringLiteral("name"));
    QCborMap large = marker;
    large[QStringLiteral("ident")] = qint64{1} << 40;
    EXPECT_EQ(markersFromArchive(record(1, QCborArray{marker}))->size(), 1U);
    for (const QByteArray& bytes :
         {QByteArray("bplist00"), QByteArray(100, '\xff'), record(2, QCborArray{marker}), record(1, marker),
          record(1, QCborArray{unnamed}), record(1, QCborArray{large}), record(1, QCborArray{1})})
        EXPECT_TRUE(markersFromArchive(bytes)->empty()) << bytes.toHex().constData();
}

} // namespace
} // namespace velloria
