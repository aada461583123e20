#pragma once

#include "platform/FileHandle.h"

#include <atomic>
#include <memory>
#include <span>

namespace velloria
{

/// One scratch file: a mono 32-bit float CAF file that grows at its end and is a valid file at every moment.
/// It is removed when the last clip that refers to it goes away. One thread appends; any thread reads.
class TempFile
{
public:
    /// Creates the file and writes its header; null with `error` filled when that is impossible. The note
    /// says what the file is; without it the sound is as safe.
    static std::shared_ptr<TempFile> create(double sampleRate, MaybeError* error,
                                            const QByteArray& note = QByteArray());
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    /// Adds samples at the end; the file is unchanged in length when this fails.
    MaybeError appendData(std::span<const float> samples);

    /// Bytes at a byte offset; gives the number read, fewer at the end of the file.
    int64_t dataAtOffset(int64_t offset, std::span<std::byte> out) const;

    /// Size in bytes, header included.
    int64_t length() const { return mLength.load(std::memory_order_acquire); }
    const std::filesystem::path& path() const;
    /// It stays when nobody refers to it any more, for the next start to offer.
    void leaveBehind() { mIsLeftBehind = true; }
    const std::shared_ptr<FileHandle>& fileHandle() const { return mFileHandle; }

    static std::filesystem::path tempPath();

    static constexpr int64_t headerLength = 68;

    /// The headerLength header bytes, as the Core Audio Format lays them out.
    static QByteArray headerWithSampleRate(double sampleRate);

private:
    explicit TempFile(std::shared_ptr<FileHandle> handle);
    void deleteTempFile();

    std::shared_ptr<FileHandle> mFileHandle;
    std::atomic<int64_t> mLength{0};
    std::atomic<bool> mIsLeftBehind{false};
};

} // namespace velloria
