#pragma once

#include "document/clips/AudioMarker.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <cstdint>

namespace velloria
{

/// Chapters among Vorbis comments: CHAPTER001=01:02:03.456 says when the first one begins and
/// CHAPTER001NAME=... what it is called. Other programs count from 0 as well. They are markers here.
namespace VorbisChapters
{

/// Their numbers have three digits.
constexpr int64_t mostChapters = 999;

/// True for a name, in lower case, that may be part of a chapter.
bool isName(const QString& name);

/// The chapters as markers, in the order of the entries; null when there are none. The marker's number is
/// one more than the chapter's.
MarkerList read(const QList<QByteArray>& entries, double sampleRate);

/// The names, in lower case, of entries that may be part of a chapter and are part of none.
QStringList namesNotRead(const QList<QByteArray>& entries);

/// The entries with other chapters. One that stays stays byte for byte, one that is moved or renamed changes
/// in its place. Where some come, go or change their order, all are numbered anew.
QList<QByteArray> edited(const QList<QByteArray>& entries, const MarkerList& markers, double sampleRate);

/// What is to be told of markers that edited() moves, because times of chapters are told in milliseconds;
/// empty where all stay at their frames.
QString lossOf(const QList<QByteArray>& entries, const MarkerList& markers, double sampleRate);

} // namespace VorbisChapters

} // namespace velloria
