#pragma once

#include "formats/tags/Id3FrameMaker.h"

#include <QByteArray>
#include <QString>
#include <optional>

namespace velloria
{

/// A CHAP frame's payload.
struct Id3Chapter {
    QByteArray elementID;
    /// Milliseconds.
    uint32_t start = 0;
    uint32_t end = 0;
    /// Of bytes in the file, or all ones.
    QByteArray offsets = QByteArray(8, '\xFF');
    QString title;
    /// Frames of its own, its title among them, as they are stored.
    QList<QByteArray> frames;

    static std::optional<Id3Chapter> ofPayload(QByteArrayView payload, int version);
    QByteArray payload() const;
    void setTitle(const QString& text, const Id3FrameMaker& maker);
    /// Beside its title.
    bool holdsMore() const;

    bool operator==(const Id3Chapter&) const = default;
};

/// A CTOC frame's payload.
struct Id3ChapterList {
    QByteArray elementID;
    char flags = 0;
    QList<QByteArray> children;
    /// What follows: frames of its own.
    QByteArray rest;

    static std::optional<Id3ChapterList> ofPayload(QByteArrayView payload);
    QByteArray payload() const;
};

} // namespace velloria
