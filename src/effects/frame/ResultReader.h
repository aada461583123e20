#pragma once

#include "document/clips/SequentialReader.h"
#include "effects/frame/ReadAhead.h"

#include <memory>

namespace velloria
{

class Filter;

/// The result of an effect over its selection, computed as it is read. It hears the tracks as they were when
/// it was made, and is the only one to use the effect from its first read on.
class ResultReader final : public SequentialReader
{
public:
    /// Over the selection of the effect's source.
    explicit ResultReader(std::shared_ptr<Filter> filter);
    ~ResultReader() override;

private:
    void begin() override;
    bool computeSome(std::vector<FloatBuffer>& frames) override;

    const std::shared_ptr<Filter> mFilter;
    std::shared_ptr<DocumentSource> mSource;
    int64_t mNumFramesToCome = 0;
};

} // namespace velloria
