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
    //% "octave."
    setToolTip(qtTrId("keyboard-tip"));
}

QSize KeyboardView::sizeHint() const
{
    return kSize;
}

void KeyboardView::moveByOctaves(int count)
{
    const int lowest = 0;
    const int highest = (NoteGenerator::kNumNotes - kNumNotes) / kNotesPerOctave * kNotesPerOctave;
    mFirstNote = std::clamp(mFirstNote + count * kNotesPerOctave, lowest, highest);
    update();
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
    const auto* const letter = std::find(kLetters.begin(), kLetters.end(), event->key());
    const bool isPlain = !(event->modifiers() & ~Qt::ShiftModifier);
    if (!isPlain || (letter == kLetters.end() && event->key() != Qt::Key_Z && event->key() != Qt::Key_X)) {
        QWidget::keyPressEvent(event);
        return;
    }
    if (event->isAutoRepeat())
        return;
    if (letter == kLetters.end()) {
        moveByOctaves(event->key() == Qt::Key_Z ? -1 : 1);
        return;
    }
    mHeldKey = event->key();
    press(mFirstNote + kLettersFrom + static_cast<int>(letter - kLetters.begin()));
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

void KeyboardView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const bool black : {false, true})
        for (int note = mFirstNote; note < mFirstNote + kNumNotes; ++note)
            if (isBlack(note) == black)
                drawKey(painter, note);
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 3, 3);
    }
}

} // namespace velloria
