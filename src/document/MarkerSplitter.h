#pragma once

#include "document/SoundDocument.h"

#include <functional>

namespace velloria
{

/// Writes one file for each marked region of a document. The files written before a failure or before the
/// person cancelled stay. Main thread.
class MarkerSplitter
{
public:
    struct Request {
        /// Must exist.
        std::filesystem::path folder;
        /// Identifier of a type that can be written.
        QString uti;
        /// The format option chosen (bits or bit rate); 0 for none.
        int optionTag = 0;
        /// True to put the track number before each name.
        bool addPrefix = false;
        /// Tags of every piece, with the first one's track number; each gets its title.
        AudioMetadata metadata;
        /// Called just before each file appears; see SaveRequest.
        std::function<void()> willReplace;
    };
    struct Piece {
        QString title;
        int64_t start = 0;
        int64_t end = 0;
    };
    struct Outcome {
        std::vector<std::filesystem::path> paths;
        MaybeError error;
    };

    MarkerSplitter(SoundDocument& document, Request request)
        : mDocument(document)
        , mRequest(std::move(request))
    {
    }

    /// The tags that the pieces have from their document, to begin with: who made it, and track number 1.
    static AudioMetadata metadataForPieces(const SoundDocument& document);
    /// The regions in the order of their markers; what lies before the first marker is titled like the
    /// document.
    static std::vector<Piece> piecesOf(const SoundDocument& document);
    /// A title without what a file name cannot hold.
    static QString filesystemFriendlyFilename(const QString& title);
    /// The name in the folder; where it is taken, with "-1", "-2", ... before its extension. Cut to what a
    /// folder can hold.
    static std::filesystem::path pathForUniqueFile(const std::filesystem::path& folder, const QString& name,
                                                   const QString& extension);

    /// What the pieces will lack of the sound as it is, one sentence each; that they have no markers is what
    /// splitting is for.
    QStringList losses() const;

    /// Why nothing would be written: no markers, no such folder.
    MaybeError refusal() const;

    Outcome run(Progress& progress);

private:
    SaveRequest requestFor(int64_t start, int64_t end) const;
    MaybeError savePiece(const Piece& piece, Progress& progress, std::vector<std::filesystem::path>& paths);

    SoundDocument& mDocument;
    Request mRequest;
};

} // namespace velloria
