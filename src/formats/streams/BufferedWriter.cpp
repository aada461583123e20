#include "formats/streams/BufferedWriter.h"

namespace velloria
{

namespace
{

constexpr size_t bytesPerWrite = size_t{1} << 20;
// What the disk is given to write at a time.
constexpr int64_t bytesPerSync = int64_t{8} << 20;

} // namespace

BufferedWriter::BufferedWriter(std::shared_ptr<FileHandle> handle)
    : mHandle(std::move(handle))
{
    mPending.reserve(bytesPerWrite);
}

void BufferedWriter::write(std::span<const std::byte> bytes)
{
    mPending.insert(mPending.end(), bytes.begin(), bytes.end());
    mPosition += std::ssize(bytes);
    if (mPending.size() >= bytesPerWrite)
        writeOut();
}

void BufferedWriter::setPosition(int64_t position)
{
    writeOut();
    mPosition = position;
}

MaybeError BufferedWriter::finish()
{
    writeOut();
    return mError;
}

void BufferedWriter::writeOut()
{
    if (!mPending.empty() && !mError)
        mError = mHandle->writeAt(mPosition - std::ssize(mPending), mPending);
    mPending.clear();
    if (mPosition - mNumBytesSyncing >= bytesPerSync) {
        mHandle->startSync(mNumBytesSyncing, mPosition - mNumBytesSyncing);
        mNumBytesSyncing = mPosition;
    }
}

} // namespace velloria
