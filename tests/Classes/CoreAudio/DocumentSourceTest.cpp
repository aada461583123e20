#include "Classes/CoreAudio/DocumentSource.h"
#include "document/DocumentKit.h"

using namespace velloria;

namespace
{

constexpr int64_t kNumFrames = 5000;

/// Track t holds (t + 1) * 10000 + frame.
std::shared_ptr<SoundDocument> threeTracks()
{
    return kit::documentOf(
        {kit::ramp(kNumFrames, 10000), kit::ramp(kNumFrames, 20000), kit::ramp(kNumFrames, 30000)});
}

SoundSelection selectionOfFrames(int64_t start, int64_t end, int32_t firstTrack = 0, int32_t numTracks = 1)
{
    return {static_cast<double>(start) / 44100.0, static_cast<double>(end) / 44100.0, firstTrack, numTracks};
}

/// (first sample, number of frames) of each answer; (0, 0) for none.
using Answers = std::vector<std::pair<float, size_t>>;

Answers request(DocumentSource& source, const std::vector<uint64_t>& lengths)
{
    Answers answers;
    SampleBlock block;
    for (const uint64_t length : lengths) {
        if (source.requestDataWithNumFrames(length, block))
            answers.emplace_back(block.front().front(), block.front().size());
        else
            answers.emplace_back(0.0F, 0);
    }
    return answers;
}

} // namespace

TEST(DocumentSource, ReadsTheWholeDocumentUntilItsEnd)
{
    DocumentSource source(threeTracks());
    EXPECT_EQ(source.selectionNumFrames(), kNumFrames);
    EXPECT_EQ(source.numTracks(), 3);
    EXPECT_EQ(request(source, {4000, 4000, 1, 0}), (Answers{{10000, 4000}, {14000, 1000}, {0, 0}, {0, 0}}));
    EXPECT_EQ(source.mark(), kNumFrames);
}

TEST(DocumentSource, WrapsOnlyAtTheStartOfARequest)
{
    DocumentSource source(threeTracks(), selectionOfFrames(1000, 2000, 1));
    source.setLooping(true);
    EXPECT_EQ(request(source, {300, 300, 300, 300, 300}),
              (Answers{{21000, 300}, {21300, 300}, {21600, 300}, {21900, 100}, {21000, 300}}));
    source.setLooping(false);
    EXPECT_EQ(request(source, {UINT64_MAX, 1}), (Answers{{21300, 700}, {0, 0}}));
}

TEST(DocumentSource, DoesNotWrapBeforeALoopEndThatLiesBeyondTheDocument)
{
    DocumentSource source(threeTracks(), selectionOfFrames(4900, 9000));
    source.setLooping(true);
    EXPECT_EQ(request(source, {300, 300}), (Answers{{14900, 100}, {0, 0}}));
    source.setMark(9000);
    EXPECT_EQ(request(source, {300}), (Answers{{14900, 100}}));
}

TEST(DocumentSource, TakesTheEndsOfASelectionInAnyOrder)
{
    const DocumentSource source(threeTracks(), selectionOfFrames(2000, 1000));
    EXPECT_EQ(source.mark(), 1000);
    EXPECT_EQ(source.loopStart(), 1000);
    EXPECT_EQ(source.loopEnd(), 2000);
    EXPECT_EQ(source.selectionNumFrames(), 1000);
}

TEST(DocumentSource, HasNothingWhereNothingIsLeft)
{
    struct Case {
        const char* name;
        int64_t start;
        int64_t end;
        int64_t mark;
        Answers answers;
    };
    const Case cases[] = {
        {"empty selection", 700, 700, 700, {{0, 0}, {0, 0}}},
        {"loop end beyond the limit", 4900, 9000, 4900, {{14900, 100}, {0, 0}}},
        {"mark past the stop", 100, 200, 300, {{0, 0}, {0, 0}}},
        {"mark before the document", 0, 200, -50, {{0, 150}, {10100, 100}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        DocumentSource source(threeTracks(), selectionOfFrames(c.start, c.end));
        source.setMark(c.mark);
        EXPECT_EQ(request(source, {150, 150}), c.answers);
        if (c.answers.front().second == 0) {
            EXPECT_EQ(source.mark(), c.mark);
        }
    }
}

TEST(DocumentSource, ReadsTheTracksOfTheSelectionThatAreThere)
{
    struct Case {
        int32_t firstTrack;
        int32_t numTracks;
        std::vector<float> firstSamples;
    };
    const Case cases[] = {
        {-1, 0, {10000, 20000, 30000}}, {1, 2, {20000, 30000}}, {2, 2, {30000}}, {3, 1, {}}, {0, 0, {}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.firstTrack);
        DocumentSource source(threeTracks(), selectionOfFrames(0, 10, c.firstTrack, c.numTracks));
        SampleBlock block(5, FloatBuffer(99));
        EXPECT_EQ(source.requestDataWithNumFrames(10, block), !c.firstSamples.empty());
        std::vector<float> firstSamples;
        for (const FloatBuffer& buffer : block) {
            EXPECT_EQ(buffer.size(), 10U);
            firstSamples.push_back(buffer.front());
        }
        EXPECT_EQ(firstSamples, c.firstSamples);
    }
}

TEST(DocumentSource, StopsAtTheLengthItWasMadeFor)
{
    const auto document = threeTracks();
    DocumentSource source(document);
    document->replaceDataAtOffset(kNumFrames, 0, 0, ClipList(AudioClipPtr(kit::clipOf(kit::ramp(100, 1)))));
    EXPECT_EQ(request(source, {9999, 1}), (Answers{{10000, kNumFrames}, {0, 0}}));
    source.setLimit(kNumFrames + 100);
    source.setLoopEnd(kNumFrames + 100);
    EXPECT_EQ(request(source, {9999}), (Answers{{1, 100}}));
}
