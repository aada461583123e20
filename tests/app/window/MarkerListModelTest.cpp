#include "app/window/MarkerListModel.h"

#include <QAbstractItemModelTester>
#include <QItemSelectionModel>
#include <QSignalSpy>
#include <QTableView>
#include <gtest/gtest.h>
#include <random>

namespace velloria::test
{

namespace
{

QStringList namesIn(const QAbstractItemModel& model)
{
    QStringList names;
    for (int row = 0; row < model.rowCount(); ++row)
        names << model.data(model.index(row, MarkerListModel::nameColumn)).toString();
    return names;
}

QStringList namesIn(const SoundDocument& document)
{
    QStringList names;
    for (const AudioMarkerPtr& marker : *document.orderedMarkers())
        names << marker->name();
    return names;
}

AudioMarkerPtr marker(int64_t position, const QString& name)
{
    return std::make_shared<AudioMarker>(0, position, name);
}

} // namespace

TEST(MarkerListModel, KeepsWhatIsChosenWhileOneMarkerComesGoesOrMoves)
{
    const auto document = std::make_shared<SoundDocument>();
    for (const char* const name : {"a", "b", "c", "d", "e"})
        document->addMarker(marker(100 * *name, QString::fromLatin1(name)));
    MarkerListModel model;
    model.setDocument(document);
    QTableView view;
    view.setModel(&model);
    view.setSelectionBehavior(QAbstractItemView::SelectRows);
    view.selectRow(2);
    QSignalSpy resets(&model, &QAbstractItemModel::modelReset);
    const auto chosen = [&] {
        model.refresh();
        EXPECT_EQ(namesIn(model), namesIn(*document));
        const QModelIndexList rows = view.selectionModel()->selectedRows(MarkerListModel::nameColumn);
        return rows.size() == 1 ? rows[0].data().toString() : QString();
    };
    const AudioMarkerPtr first = document->markers().orderedAt(0);
    document->addMarker(marker(0, QStringLiteral("new")));
    EXPECT_EQ(chosen(), QStringLiteral("c"));
    document->setPosition(100'000, first);
    EXPECT_EQ(chosen(), QStringLiteral("c"));
    document->setPosition(0, first);
    EXPECT_EQ(chosen(), QStringLiteral("c"));
    document->setName(QStringLiteral("other"), first);
    EXPECT_EQ(chosen(), QStringLiteral("c"));
    document->removeAudioMarker(first);
    EXPECT_EQ(chosen(), QStringLiteral("c"));
    EXPECT_EQ(resets.count(), 0);
}

TEST(MarkerListModel, HasTheDocumentsMarkersWhateverChanges)
{
    const auto document = std::make_shared<SoundDocument>();
    MarkerListModel model;
    model.setDocument(document);
    const QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    std::mt19937 generator(7);
    for (int step = 0; step < 400; ++step) {
        const int64_t count = document->markers().count();
        const auto any = [&] { return document->markers().orderedAt(generator() % count); };
        const auto place = static_cast<int64_t>(generator() % 50);
        switch (generator() % 6) {
        case 0:
        case 1:
            document->addMarker(marker(place, QString::number(step)));
            break;
        case 2:
            if (count > 0)
                document->removeAudioMarker(any());
            break;
        case 3:
            if (count > 0)
                document->setPosition(place, any());
            break;
        case 4:
            document->undoManager().undo();
            break;
        default:
            document->addMarkers({marker(place, QStringLiteral("x")), marker(place + 9, QStringLiteral("y")),
                                  marker(place + 30, QStringLiteral("z"))},
                                 QStringLiteral("Several"));
        }
        model.refresh();
        ASSERT_EQ(namesIn(model), namesIn(*document)) << step;
    }
}

} // namespace velloria::test
