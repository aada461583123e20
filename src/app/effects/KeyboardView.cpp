#include "app/effects/KeyboardView.h"

#include "effects/generators/NoteGenerator.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <array>
#include <cmath>

namespace velloria
{

namespace
{

constexpr int kNotesPerOctave = 12;
constexpr int kWhitePerOctave = 7;
constexpr int kNumOctaves = 3;
constexpr int kNumNotes = kNumOctaves * kNotesPerOctave + 1;
constexpr int kHighestFirstNote = (NoteGenerator::kNumNotes - kNumNotes) / kNotesPerOctave * kNotesPerOctave;
constexpr int kHighestNote = kHighestFirstNote + kNumNotes - 1;
constexpr int kNumWhite = kNumOctaves * kWhitePerOctave + 1;
/// Where the letters begin: the second C.
constexpr int kLettersFrom = kNotesPerOctave;
constexpr QSize kSize(484, 116);
constexpr double kBlackWidth = 0.6;
constexpr double kBlackHeight = 0.62;

constexpr std::array<bool, kNotesPerOctave> kIsBlack = {false, true,  false, true,  false, false,
                                                        true,  false, true,  false, true,  false};
/// White keys before a note within its octave.
constexpr std::array<int, kNotesPerOctave> kWhiteBefore = {0, 1, 1, 2, 2, 3, 4, 4, 5, 5, 6, 6};

/// As two rows of letters lie under the hands, from C on.
constexpr std::array<Qt::Key, 17> kLetters = {
    Qt::Key_A, Qt::Key_W, Qt::Key_S, Qt::Key_E, Qt::Key_D, Qt::Key_F, Qt::Key_T, Qt::Key_G,        Qt::Key_Y,
    Qt::Key_H, Qt::Key_U, Qt::Key_J, Qt::Key_K, Qt::Key_O, Qt::Key_L, Qt::Key_P, Qt::Key_Semicolon};

bool isBlack(int note)
{
    return kIsBlack[static_cast<size_t>(note % kNotesPerOctave)];
}

} // namespace

KeyboardView::KeyboardView(QWidget* parent)
    : QWidget(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    setMinimumSize(kSize);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    //% "Piano keyboard"
    setAccessibleName(qtTrId("keyboard-name"));
    //% "Click a key, or play with the letters: A to L are white keys, the row above black ones; Z and X change the "
    //% "octave. The arrow keys choose a key, and the space bar plays it."
    setToolTip(qtTrId("keyboard-tip"));
    mark(mMarked);
}

QSize KeyboardView::sizeHint() const
{
    return kSize;
}

void KeyboardView::moveByOctaves(int count)
{
    const int moved = std::clamp(mFirstNote + count * kNotesPerOctave, 0, kHighestFirstNote) - mFirstNote;
    mFirstNote += moved;
    mark(mMarked + moved);
}

void KeyboardView::mark(int note)
{
    mMarked = std::clamp(note, 0, kHighestNote);
    while (mMarked < mFirstNote)
        mFirstNote -= kNotesPerOctave;
    while (mMarked >= mFirstNote + kNumNotes)
        mFirstNote += kNotesPerOctave;
    setAccessibleDescription(NoteGenerator::nameOfNote(mMarked));
    update();
}

/// False for a key that moves nothing.
bool KeyboardView::moveMark(int key)
{
    switch (key) {
    case Qt::Key_Left:
        mark(mMarked - 1);
        return true;
    case Qt::Key_Right:
        mark(mMarked + 1);
        return true;
    case Qt::Key_Down:
        mark(mMarked - kNotesPerOctave);
        return true;
    case Qt::Key_Up:
        mark(mMarked + kNotesPerOctave);
        return true;
    case Qt::Key_Home:
        mark(mFirstNote);
        return true;
    case Qt::Key_End:
        mark(mFirstNote + kNumNotes - 1);
        return true;
    default:
        return false;
    }
}

/// What a key of the computer's keyboard plays.
std::optional<int> KeyboardView::noteOfKey(int key) const
{
    if (key == Qt::Key_Space)
        return mMarked;
    const auto* const letter = std::find(kLetters.begin(), kLetters.end(), key);
    if (letter == kLetters.end())
        return std::nullopt;
    return mFirstNote + kLettersFrom + static_cast<int>(letter - kLetters.begin());
}

QRectF KeyboardView::rectOfNote(int note) const
{
    const int index = note - mFirstNote;
    const double width = static_cast<double>(this->width() - 1) / kNumWhite;
    const int numBefore = index / kNotesPerOctave * kWhitePerOctave +
                          kWhiteBefore[static_cast<size_t>(index % kNotesPerOctave)];
    const double left = width * numBefore;
    if (!isBlack(note))
        return {left, 0, width, static_cast<double>(height() - 1)};
    return {left - width * kBlackWidth / 2, 0, width * kBlackWidth, (height() - 1) * kBlackHeight};
}

std::optional<int> KeyboardView::noteAt(const QPointF& point) const
{
    // The black keys lie on the white ones.
    for (const bool black : {true, false})
        for (int note = mFirstNote; note < mFirstNote + kNumNotes; ++note)
            if (isBlack(note) == black && rectOfNote(note).contains(point))
                return note;
    return std::nullopt;
}

void KeyboardView::press(std::optional<int> note)
{
    if (note == mHeld)
        return;
    mHeld = note;
    update();
    if (note)
        Q_EMIT notePressed(*note);
    else
        Q_EMIT noteReleased();
}

void KeyboardView::mousePressEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        press(noteAt(event->position()));
}

void KeyboardView::mouseMoveEvent(QMouseEvent* event)
{
    if ((event->buttons() & Qt::LeftButton) && mHeldKey == 0)
        press(noteAt(event->position()));
}

void KeyboardView::mouseReleaseEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        press(std::nullopt);
}

void KeyboardView::keyPressEvent(QKeyEvent* event)
{
    const int key = event->key();
    const bool isPlain = !(event->modifiers() & ~(Qt::ShiftModifier | Qt::KeypadModifier));
    if (isPlain && moveMark(key))
        return;
    const std::optional<int> note = noteOfKey(key);
    if (!isPlain || (!note && key != Qt::Key_Z && key != Qt::Key_X)) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (event->isAutoRepeat())
        return;
    if (!note) {
        moveByOctaves(key == Qt::Key_Z ? -1 : 1);
        return;
    }
    mHeldKey = key;
    press(note);
}

void KeyboardView::keyReleaseEvent(QKeyEvent* event)
{
    if (event->isAutoRepeat() || event->key() != mHeldKey) {
        QWidget::keyReleaseEvent(event);
        return;
    }
    mHeldKey = 0;
    press(std::nullopt);
}

void KeyboardView::focusOutEvent(QFocusEvent* event)
{
    // The letter may be let go elsewhere.
    mHeldKey = 0;
    press(std::nullopt);
    QWidget::focusOutEvent(event);
}

void KeyboardView::drawKey(QPainter& painter, int note) const
{
    const bool black = isBlack(note);
    const QRectF rect = rectOfNote(note).adjusted(0.5, 0.5, 0.5, 0.5);
    QColor fill = black ? QColor(0x26, 0x28, 0x2c) : QColor(0xf4, 0xf4, 0xf2);
    if (mHeld == note)
        fill = palette().color(QPalette::Highlight);
    painter.setPen(QColor(0x50, 0x52, 0x56));
    painter.setBrush(fill);
    painter.drawRoundedRect(rect, 2, 2);
    if (note % kNotesPerOctave != 0)
        return;
    QFont font = painter.font();
    font.setPointSizeF(this->font().pointSizeF() * 0.8);
    painter.setFont(font);
    painter.setPen(mHeld == note ? palette().color(QPalette::HighlightedText) : QColor(0x50, 0x52, 0x56));
    painter.drawText(rect.adjusted(0, 0, 0, -4), Qt::AlignHCenter | Qt::AlignBottom,
                     NoteGenerator::nameOfNote(note));
}

void KeyboardView::drawMark(QPainter& painter) const
{
    const QRectF key = rectOfNote(mMarked);
    const double radius = key.width() * (isBlack(mMarked) ? 0.3 : 0.2);
    const double below = isBlack(mMarked) ? 10.0 : 28.0;
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(mHeld == mMarked ? QPalette::HighlightedText : QPalette::Highlight));
    painter.drawEllipse(QPointF(key.center().x() + 0.5, key.bottom() - below), radius, radius);
}

void KeyboardView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const bool black : {false, true})
        for (int note = mFirstNote; note < mFirstNote + kNumNotes; ++note)
            if (isBlack(note) == black)
                drawKey(painter, note);
    if (hasFocus()) {
        drawMark(painter);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 3, 3);
    }
}

} // namespace velloria
