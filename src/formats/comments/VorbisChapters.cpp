#include "formats/comments/VorbisChapters.h"

#include <QRegularExpression>
#include <algorithm>
#include <cmath>
#include <optional>

namespace velloria::VorbisChapters
{

namespace
{

constexpr double millisecondsPerSecond = 1000.0;
constexpr qsizetype longestName = 64;

/// An entry CHAPTERxxx, CHAPTERxxxNAME or with another ending (a link, mostly).
struct Part {
    int number = 0;
    /// In lower case; empty for the time.
    QString ending;
};

struct Chapter {
    int number = 0;
    double seconds = 0.0;
    QString name;
    qsizetype timeIndex = -1;
    /// -1 where it has no name.
    qsizetype nameIndex = -1;
};

const QString nameEnding = QStringLiteral("name");

QString nameOf(const QByteArray& entry)
{
    const qsizetype equals = entry.indexOf('=');
    return equals < 0 || equals > longestName ? QString() : QString::fromUtf8(entry.first(equals)).toLower();
}

QString valueOf(const QByteArray& entry)
{
    return QString::fromUtf8(entry.sliced(entry.indexOf('=') + 1));
}

/// The name of an entry as it is spelled there, up to and with the sign of equality.
QByteArray keyOf(const QByteArray& entry)
{
    return entry.first(entry.indexOf('=') + 1);
}

std::optional<Part> partOf(const QString& name)
{
    static const QRegularExpression pattern(QStringLiteral("^chapter([0-9]{3})([a-z]*)$"));
    const auto match = pattern.match(name);
    if (!match.hasMatch())
        return std::nullopt;
    return Part{match.captured(1).toInt(), match.captured(2)};
}

std::optional<double> secondsOf(const QString& text)
{
    static const QRegularExpression pattern(
        QStringLiteral("^([0-9]{1,6}):([0-5]?[0-9]):([0-5]?[0-9](?:\\.[0-9]{1,12})?)$"));
    const auto match = pattern.match(text.trimmed());
    if (!match.hasMatch())
        return std::nullopt;
    return (match.captured(1).toDouble() * 60.0 + match.captured(2).toDouble()) * 60.0 +
           match.captured(3).toDouble();
}

std::vector<Chapter> chaptersOf(const QList<QByteArray>& entries)
{
    std::vector<Chapter> chapters;
    const auto find = [&chapters](int number) {
        return std::ranges::find(chapters, number, &Chapter::number);
    };
    std::vector<std::pair<Part, qsizetype>> names;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const std::optional<Part> part = partOf(nameOf(entries[i]));
        if (part && part->ending == nameEnding)
            names.emplace_back(*part, i);
        if (!part || !part->ending.isEmpty() || find(part->number) != chapters.end())
            continue;
        if (const std::optional<double> seconds = secondsOf(valueOf(entries[i])))
            chapters.push_back({part->number, *seconds, {}, i});
    }
    for (const auto& [part, index] : names) {
        const auto chapter = find(part.number);
        if (chapter == chapters.end() || chapter->nameIndex >= 0)
            continue;
        chapter->nameIndex = index;
        chapter->name = valueOf(entries[index]);
    }
    return chapters;
}

int64_t positionOf(const Chapter& chapter, double sampleRate)
{
    return std::llround(chapter.seconds * sampleRate);
}

int64_t millisecondsOf(int64_t position, double sampleRate)
{
    return std::llround(static_cast<double>(position) / sampleRate * millisecondsPerSecond);
}

QByteArray timeText(int64_t milliseconds)
{
    const int64_t seconds = milliseconds / 1000;
    return QStringLiteral("%1:%2:%3.%4")
        .arg(seconds / 3600, 2, 10, QLatin1Char('0'))
        .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
        .arg(seconds % 60, 2, 10, QLatin1Char('0'))
        .arg(milliseconds % 1000, 3, 10, QLatin1Char('0'))
        .toLatin1();
}

/// The time of a marker; that of the chapter that it was, as it is told there, where it did not move.
QByteArray timeOf(const AudioMarker& marker, const Chapter* chapter, const QList<QByteArray>& entries,
                  double sampleRate)
{
    const int64_t position = std::max<int64_t>(0, marker.position());
    const int64_t milliseconds = millisecondsOf(position, sampleRate);
    const bool isSame = chapter && (positionOf(*chapter, sampleRate) == position ||
                                    std::llround(chapter->seconds * millisecondsPerSecond) == milliseconds);
    if (!isSame)
        return timeText(milliseconds);
    const QByteArray& entry = entries[chapter->timeIndex];
    return entry.sliced(entry.indexOf('=') + 1);
}

std::vector<AudioMarkerPtr> inOrder(const MarkerList& markers)
{
    std::vector<AudioMarkerPtr> sorted = markers ? *markers : std::vector<AudioMarkerPtr>();
    std::ranges::stable_sort(sorted, {}, &AudioMarker::position);
    sorted.resize(std::min(sorted.size(), static_cast<size_t>(mostChapters)));
    return sorted;
}

/// For each marker the chapter that it was, by what both say, then by number; -1 for none.
std::vector<int> chaptersBehind(const std::vector<AudioMarkerPtr>& markers,
                                const std::vector<Chapter>& chapters, double sampleRate)
{
    std::vector<int> found(markers.size(), -1);
    std::vector<char> isTaken(chapters.size());
    const auto match = [&](auto isSame) {
        for (size_t m = 0; m < markers.size(); ++m) {
            for (size_t c = 0; found[m] < 0 && c < chapters.size(); ++c) {
                if (isTaken[c] || !isSame(*markers[m], chapters[c]))
                    continue;
                found[m] = static_cast<int>(c);
                isTaken[c] = 1;
            }
        }
    };
    const auto isAtSamePlace = [sampleRate](const AudioMarker& marker, const Chapter& chapter) {
        return positionOf(chapter, sampleRate) == marker.position();
    };
    match([&](const AudioMarker& marker, const Chapter& chapter) {
        return isAtSamePlace(marker, chapter) && marker.name() == chapter.name;
    });
    match(isAtSamePlace);
    match([](const AudioMarker& marker, const Chapter& chapter) {
        return marker.ident() == chapter.number + 1;
    });
    return found;
}

/// True where each chapter is there still, and they follow one another as before.
bool isSameOrder(const std::vector<int>& behind, const std::vector<Chapter>& chapters)
{
    if (behind.size() != chapters.size())
        return false;
    for (size_t i = 0; i < behind.size(); ++i) {
        if (behind[i] < 0 || (i > 0 && chapters[static_cast<size_t>(behind[i])].seconds <
                                           chapters[static_cast<size_t>(behind[i - 1])].seconds))
            return false;
    }
    return true;
}

QList<QByteArray> changedInPlace(const QList<QByteArray>& entries, const std::vector<AudioMarkerPtr>& markers,
                                 const std::vector<int>& behind, const std::vector<Chapter>& chapters,
                                 double sampleRate)
{
    // What stands in the place of each entry.
    std::vector<QList<QByteArray>> places;
    for (const QByteArray& entry : entries)
        places.push_back({entry});
    for (size_t i = 0; i < markers.size(); ++i) {
        const Chapter& chapter = chapters[static_cast<size_t>(behind[i])];
        QList<QByteArray>& time = places[static_cast<size_t>(chapter.timeIndex)];
        const QByteArray key = keyOf(time[0]);
        time[0] = key + timeOf(*markers[i], &chapter, entries, sampleRate);
        const QString& name = markers[i]->name();
        if (name == chapter.name)
            continue;
        if (chapter.nameIndex < 0) {
            time.append(key.chopped(1) + "NAME=" + name.toUtf8());
            continue;
        }
        QList<QByteArray>& old = places[static_cast<size_t>(chapter.nameIndex)];
        if (name.isEmpty())
            old.clear();
        else
            old[0] = keyOf(old[0]) + name.toUtf8();
    }
    QList<QByteArray> edited;
    for (const QList<QByteArray>& place : places)
        edited += place;
    return edited;
}

/// All of them one behind the other, with what else tells of each, where the first one stood.
QList<QByteArray> numberedAnew(const QList<QByteArray>& entries, const std::vector<AudioMarkerPtr>& markers,
                               const std::vector<int>& behind, const std::vector<Chapter>& chapters,
                               double sampleRate)
{
    const auto numberOf = [&](const QByteArray& entry) {
        const std::optional<Part> part = partOf(nameOf(entry));
        const bool isChapter =
            part && std::ranges::find(chapters, part->number, &Chapter::number) != chapters.end();
        return isChapter ? part->number : -1;
    };
    const bool countsFromZero =
        !chapters.empty() && std::ranges::min_element(chapters, {}, &Chapter::number)->number == 0;
    QList<QByteArray> made;
    for (size_t i = 0; i < markers.size(); ++i) {
        const Chapter* const chapter = behind[i] < 0 ? nullptr : &chapters[static_cast<size_t>(behind[i])];
        const QByteArray key =
            "CHAPTER" +
            QByteArray::number(static_cast<qint64>(i) + (countsFromZero ? 0 : 1)).rightJustified(3, '0');
        made.append(key + '=' + timeOf(*markers[i], chapter, entries, sampleRate));
        if (!markers[i]->name().isEmpty())
            made.append(key + "NAME=" + markers[i]->name().toUtf8());
        for (qsizetype e = 0; chapter && e < entries.size(); ++e) {
            if (numberOf(entries[e]) != chapter->number || e == chapter->timeIndex || e == chapter->nameIndex)
                continue;
            const QString ending = partOf(nameOf(entries[e]))->ending.toUpper();
            made.append(key + ending.toLatin1() + '=' + valueOf(entries[e]).toUtf8());
        }
    }
    QList<QByteArray> edited;
    qsizetype place = -1;
    for (const QByteArray& entry : entries) {
        if (numberOf(entry) < 0)
            edited.append(entry);
        else if (place < 0)
            place = edited.size();
    }
    for (qsizetype i = 0; i < made.size(); ++i)
        edited.insert((place < 0 ? edited.size() - i : place) + i, made[i]);
    return edited;
}

} // namespace

bool isName(const QString& name)
{
    return partOf(name).has_value();
}

MarkerList read(const QList<QByteArray>& entries, double sampleRate)
{
    std::vector<AudioMarkerPtr> markers;
    for (const Chapter& chapter : chaptersOf(entries))
        markers.push_back(
            std::make_shared<AudioMarker>(chapter.number + 1, positionOf(chapter, sampleRate), chapter.name));
    return markers.empty() ? nullptr
                           : std::make_shared<const std::vector<AudioMarkerPtr>>(std::move(markers));
}

QStringList namesNotRead(const QList<QByteArray>& entries)
{
    const std::vector<Chapter> chapters = chaptersOf(entries);
    QStringList names;
    for (qsizetype i = 0; i < entries.size(); ++i) {
        const bool isRead = std::ranges::any_of(chapters, [i](const Chapter& chapter) {
            return chapter.timeIndex == i || chapter.nameIndex == i;
        });
        if (!isRead && isName(nameOf(entries[i])))
            names.append(nameOf(entries[i]));
    }
    return names;
}

QList<QByteArray> edited(const QList<QByteArray>& entries, const MarkerList& markers, double sampleRate)
{
    const std::vector<Chapter> chapters = chaptersOf(entries);
    const std::vector<AudioMarkerPtr> sorted = inOrder(markers);
    const std::vector<int> behind = chaptersBehind(sorted, chapters, sampleRate);
    return isSameOrder(behind, chapters) ? changedInPlace(entries, sorted, behind, chapters, sampleRate)
                                         : numberedAnew(entries, sorted, behind, chapters, sampleRate);
}

QString lossOf(const QList<QByteArray>& entries, const MarkerList& markers, double sampleRate)
{
    const std::vector<AudioMarkerPtr> now = inOrder(markers);
    const MarkerList written = read(edited(entries, markers, sampleRate), sampleRate);
    const auto isSame = [](const AudioMarkerPtr& a, const AudioMarkerPtr& b) {
        return a->position() == b->position();
    };
    const std::vector<AudioMarkerPtr> then = inOrder(written);
    if (std::ranges::equal(now, then, isSame))
        return {};
    return QStringLiteral(
        "Chapters of this type begin at whole milliseconds; markers between these move by less "
        "than one.");
}

} // namespace velloria::VorbisChapters
