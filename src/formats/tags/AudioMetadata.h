#pragma once

#include "formats/tags/AttachedPicture.h"
#include "formats/tags/MetadataDictionary.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <cstdint>

namespace velloria
{

/// A file's tags as properties, and the flat dictionary in which all formats exchange them. A value: a copy
/// is independent of the original and cheap to make. Text that is empty and numbers that are 0 count as
/// not set.
class AudioMetadata
{
public:
    /// The keys that dictionary() may hold, in the order in which files list them.
    static const QStringList& dictionaryKeys();

    /// What is set, under the shared keys.
    MetadataDictionary dictionary() const;

    /// Replaces every tag by the dictionary's, those that it does not have included; only the positions
    /// (track, disc and their totals) stay when their key is missing. Chunks stay as they are.
    void setValuesWithDictionary(const MetadataDictionary& dictionary);

    /// The tags as an ID3v2.2 tag; empty when nothing is set.
    QByteArray id3Data() const;

    /// Replaces every tag by those of an ID3v2 tag. Bytes that are no such tag change nothing.
    void setValuesWithID3Data(const QByteArray& tagData);

    /// True when at least one tag is set; chunks do not count.
    bool isNotEmpty() const { return !dictionary().isEmpty(); }

    bool operator==(const AudioMetadata& other) const = default;

    const QString& title() const { return mTitle; }
    const QString& artist() const { return mArtist; }
    const QString& albumArtist() const { return mAlbumArtist; }
    const QString& album() const { return mAlbum; }
    const QString& grouping() const { return mGrouping; }
    const QString& composer() const { return mComposer; }
    const QString& comments() const { return mComments; }
    const QString& year() const { return mYear; }
    const QString& genre() const { return mGenre; }
    int64_t trackNumber() const { return mTrackNumber; }
    int64_t totalNumberOfTracks() const { return mTotalNumberOfTracks; }
    int64_t discNumber() const { return mDiscNumber; }
    int64_t totalNumberOfDiscs() const { return mTotalNumberOfDiscs; }
    /// Beats per minute.
    int64_t tempo() const { return mTempo; }
    int64_t advisory() const { return mAdvisory; }
    bool compilation() const { return mCompilation; }
    bool gapless() const { return mGapless; }
    bool podcast() const { return mPodcast; }
    const QString& copyright() const { return mCopyright; }
    const QString& director() const { return mDirector; }
    const QString& format() const { return mFormat; }
    const QString& encodingApplication() const { return mEncodingApplication; }
    const QString& purchaseDate() const { return mPurchaseDate; }
    const QString& category() const { return mCategory; }
    const QString& egid() const { return mEgid; }
    const QString& shortDescription() const { return mShortDescription; }
    const QString& longDescription() const { return mLongDescription; }
    const QString& keywords() const { return mKeywords; }
    const QString& podcastURL() const { return mPodcastURL; }
    const QString& lyrics() const { return mLyrics; }
    /// International Standard Recording Code.
    const QString& isrc() const { return mIsrc; }
    const QList<AttachedPicture>& artwork() const { return mArtwork; }

    /// Payloads of the AIFF chunks INST, MIDI, AESD and COMT.
    const QByteArray& aiffInstrumentChunk() const { return mAiffInstrumentChunk; }
    const QByteArray& aiffMIDIChunk() const { return mAiffMIDIChunk; }
    const QByteArray& aiffAudioRecordingChunk() const { return mAiffAudioRecordingChunk; }
    const QByteArray& aiffCommentChunk() const { return mAiffCommentChunk; }
    /// Broadcast Wave chunks, each with its header.
    const QList<QByteArray>& waveBWFChunks() const { return mWaveBWFChunks; }

    void setTitle(const QString& title) { mTitle = title; }
    void setArtist(const QString& artist) { mArtist = artist; }
    void setAlbumArtist(const QString& albumArtist) { mAlbumArtist = albumArtist; }
    void setAlbum(const QString& album) { mAlbum = album; }
    void setGrouping(const QString& grouping) { mGrouping = grouping; }
    void setComposer(const QString& composer) { mComposer = composer; }
    void setComments(const QString& comments) { mComments = comments; }
    void setYear(const QString& year) { mYear = year; }
    void setGenre(const QString& genre) { mGenre = genre; }
    void setTrackNumber(int64_t number) { mTrackNumber = number; }
    void setTotalNumberOfTracks(int64_t total) { mTotalNumberOfTracks = total; }
    void setDiscNumber(int64_t number) { mDiscNumber = number; }
    void setTotalNumberOfDiscs(int64_t total) { mTotalNumberOfDiscs = total; }
    void setTempo(int64_t beatsPerMinute) { mTempo = beatsPerMinute; }
    void setAdvisory(int64_t advisory) { mAdvisory = advisory; }
    void setCompilation(bool compilation) { mCompilation = compilation; }
    void setGapless(bool gapless) { mGapless = gapless; }
    void setPodcast(bool podcast) { mPodcast = podcast; }
    void setCopyright(const QString& copyright) { mCopyright = copyright; }
    void setDirector(const QString& director) { mDirector = director; }
    void setFormat(const QString& format) { mFormat = format; }
    void setEncodingApplication(const QString& application) { mEncodingApplication = application; }
    void setPurchaseDate(const QString& date) { mPurchaseDate = date; }
    void setCategory(const QString& category) { mCategory = category; }
    void setEgid(const QString& egid) { mEgid = egid; }
    void setShortDescription(const QString& description) { mShortDescription = description; }
    void setLongDescription(const QString& description) { mLongDescription = description; }
    void setKeywords(const QString& keywords) { mKeywords = keywords; }
    void setPodcastURL(const QString& url) { mPodcastURL = url; }
    void setLyrics(const QString& lyrics) { mLyrics = lyrics; }
    void setIsrc(const QString& code) { mIsrc = code; }
    void setArtwork(const QList<AttachedPicture>& artwork) { mArtwork = artwork; }
    void setAiffInstrumentChunk(const QByteArray& payload) { mAiffInstrumentChunk = payload; }
    void setAiffMIDIChunk(const QByteArray& payload) { mAiffMIDIChunk = payload; }
    void setAiffAudioRecordingChunk(const QByteArray& payload) { mAiffAudioRecordingChunk = payload; }
    void setAiffCommentChunk(const QByteArray& payload) { mAiffCommentChunk = payload; }
    void setWaveBWFChunks(const QList<QByteArray>& chunks) { mWaveBWFChunks = chunks; }

private:
    struct Fields;

    QString mTitle;
    QString mArtist;
    QString mAlbumArtist;
    QString mAlbum;
    QString mGrouping;
    QString mComposer;
    QString mComments;
    QString mYear;
    QString mGenre;
    int64_t mTrackNumber = 0;
    int64_t mTotalNumberOfTracks = 0;
    int64_t mDiscNumber = 0;
    int64_t mTotalNumberOfDiscs = 0;
    int64_t mTempo = 0;
    int64_t mAdvisory = 0;
    bool mCompilation = false;
    bool mGapless = false;
    bool mPodcast = false;
    QString mCopyright;
    QString mDirector;
    QString mFormat;
    QString mEncodingApplication;
    QString mPurchaseDate;
    QString mCategory;
    QString mEgid;
    QString mShortDescription;
    QString mLongDescription;
    QString mKeywords;
    QString mPodcastURL;
    QString mLyrics;
    QString mIsrc;
    QList<AttachedPicture> mArtwork;
    QByteArray mAiffInstrumentChunk;
    QByteArray mAiffMIDIChunk;
    QByteArray mAiffAudioRecordingChunk;
    QByteArray mAiffCommentChunk;
    QList<QByteArray> mWaveBWFChunks;
};

} // namespace velloria
