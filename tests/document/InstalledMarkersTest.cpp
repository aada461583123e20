#include "document/InstalledMarkers.h"

#include "document/DocumentKit.h"

#include <algorithm>

using namespace velloria;

namespace
{

std::vector<AudioMarkerPtr> sorted(std::vector<AudioMarkerPtr> markers)
{
    std::stable_sort(markers.begin(), markers.end(), [](const AudioMarkerPtr& a, const AudioMarkerPtr& b) {
        return a->position() < b->position();
    });
    return markers;
}

TEST(InstalledMarkers, KnowsListAndOrderAfterAnyEdits)
{
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 generator(seed);
        const auto number = [&generator](int64_t low, int64_t high) {
            return std::uniform_int_distribution<int64_t>(low, high)(generator);
        };
        InstalledMarkers markers;
        std::vector<AudioMarkerPtr> model;
        for (int i = 0; i < 200; ++i) {
            const int64_t first = number(0, std::ssize(model));
            if (!model.empty() && number(0, 2) == 0) {
                markers.setPosition(model[static_cast<size_t>(first) % model.size()], number(0, 30));
            } else {
                // Mostly one, which is put into the order that is known; sometimes many.
                const int64_t count = std::min(number(0, 2), std::ssize(model) - first);
                std::vector<AudioMarkerPtr> others;
                for (int64_t added = number(0, 20) == 0 ? 20 : number(0, 2); added > 0; --added)
                    others.push_back(kit::markerAt(number(0, 30)));
                markers.splice(first, count, others);
                model.erase(model.begin() + first, model.begin() + first + count);
                model.insert(model.begin() + first, others.begin(), others.end());
            }
            ASSERT_EQ(*markers.list(), model) << i;
            if (number(0, 3) == 0) {
                ASSERT_EQ(*markers.ordered(), sorted(model)) << i;
            }
            for (size_t k = 0; k < model.size(); ++k)
                ASSERT_EQ(markers.indexOf(model[k]), static_cast<int64_t>(k)) << i;
        }
        EXPECT_EQ(markers.indexOf(kit::markerAt(0)), -1);
    }
}

TEST(InstalledMarkers, LeaveTheListsThatWereHandedOut)
{
    const auto document = kit::documentOf({kit::ramp(50, 0)});
    document->addMarker(kit::markerAt(7));
    const MarkerList held = document->audioMarkers();
    const MarkerList heldInOrder = document->orderedMarkers();
    EXPECT_EQ(document->audioMarkers(), held) << "made once";
    document->addMarker(kit::markerAt(3));
    document->setPosition(1, document->orderedMarkers()->front());
    EXPECT_EQ(kit::positionsOf(*document->orderedMarkers()), (std::vector<int64_t>{1, 7}));
    document->removeAudioMarker(held->front());
    EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), std::vector<int64_t>{1});
    EXPECT_EQ(kit::positionsOf(*held), std::vector<int64_t>{7});
    EXPECT_EQ(kit::positionsOf(*heldInOrder), std::vector<int64_t>{7});
    document->undoManager().setIndex(1);
    EXPECT_EQ(kit::positionsOf(*document->audioMarkers()), std::vector<int64_t>{7});
    document->undoManager().setIndex(4);
    EXPECT_EQ(kit::positionsOf(*document->orderedMarkers()), std::vector<int64_t>{1});
}

} // namespace
