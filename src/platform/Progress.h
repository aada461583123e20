#pragma once

#include <QString>
#include <cstdint>

namespace velloria
{

/// How a long operation tells how far it is and hears that it should stop. Implemented by the progress sheet
/// of a window, by the terminal's progress bar, and by recorders in tests. The operations call it from the
/// thread that started them.
class Progress
{
public:
    virtual ~Progress() = default;

    virtual void setTitle(const QString& title) { mTitle = title; }
    const QString& title() const { return mTitle; }

    /// A fraction from 0 to 1.
    virtual void setProgressValue(double value) = 0;

    virtual bool isCancelled() const = 0;

    /// Counting towards a target: progress = mark / target, ignored while the target is 0.
    int64_t markValue() const { return mMarkValue; }
    int64_t targetValue() const { return mTargetValue; }
    void setTargetValue(int64_t target) { mTargetValue = target; }
    void setMarkValue(int64_t mark)
    {
        mMarkValue = mark;
        if (mTargetValue > 0)
            setProgressValue(static_cast<double>(mark) / static_cast<double>(mTargetValue));
    }

private:
    QString mTitle;
    int64_t mMarkValue = 0;
    int64_t mTargetValue = 0;
};

/// For callers that have nobody to tell.
class SilentProgress : public Progress
{
public:
    void setProgressValue(double) override {}
    bool isCancelled() const override { return false; }
};

} // namespace velloria
