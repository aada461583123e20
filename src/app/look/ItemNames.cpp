#include "app/look/ItemNames.h"

namespace velloria
{

namespace
{

constexpr QChar kEllipsis(0x2026);
constexpr QChar kZeroWidthSpace(0x200B);
constexpr qsizetype kLongestWord = 50;

/// Embeddings, overrides, isolates and their ends: of a name that leaves one open the text behind it is read
/// backwards.
bool turnsDirection(QChar character)
{
    const char16_t code = character.unicode();
    return (code >= 0x202A && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069) || code == 0x200E ||
           code == 0x200F || code == 0x061C;
}

bool endsLine(QChar character)
{
    return character.category() == QChar::Other_Control || character.category() == QChar::Separator_Line ||
           character.category() == QChar::Separator_Paragraph;
}

/// The nearest place before `index` that is not within a character of two code units.
qsizetype boundaryBefore(const QString& text, qsizetype index)
{
    return index > 0 && index < text.size() && text[index].isLowSurrogate() ? index - 1 : index;
}

QString inOneLine(const QString& name)
{
    QString line;
    bool wasGap = false;
    for (const QChar character : name) {
        const bool isGap = endsLine(character);
        if (isGap && !wasGap)
            line += u' ';
        else if (!isGap && !turnsDirection(character))
            line += character;
        wasGap = isGap;
    }
    return line;
}

} // namespace

QString ItemNames::shown(const QString& name, qsizetype mostCharacters)
{
    QString line = inOneLine(name);
    if (line.size() <= mostCharacters)
        return line;
    // More of the beginning, but enough of the end for a number and an extension.
    const qsizetype numAtEnd = mostCharacters / 4;
    const qsizetype endOfStart = boundaryBefore(line, mostCharacters - numAtEnd - 1);
    const qsizetype startOfEnd = boundaryBefore(line, line.size() - numAtEnd);
    return line.left(endOfStart) + kEllipsis + line.mid(startOfEnd);
}

QString ItemNames::inMenu(const QString& name)
{
    return shown(name).replace(u'&', QLatin1String("&&"));
}

QString ItemNames::wrappable(const QString& message)
{
    QString text;
    qsizetype wordLength = 0;
    for (const QChar character : message) {
        if (turnsDirection(character))
            continue;
        if (character.isSpace())
            wordLength = 0;
        else if (++wordLength > kLongestWord && !character.isLowSurrogate() && !character.isMark()) {
            text += kZeroWidthSpace;
            wordLength = 1;
        }
        text += character;
    }
    return text;
}

} // namespace velloria
