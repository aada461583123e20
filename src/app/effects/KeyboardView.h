#pragma once

#include <QWidget>
#include <optional>

namespace velloria
{

/// Piano keys on the screen that are played with the mouse or with the letters of the computer's keyboard:
/// the row of A plays white keys, the row above black ones, Z and X go an octave down and up. The arrow keys
/// move a mark from key to key, up and down by octaves, and the space bar plays the marked one. One note at a
/// time. Notes are counted in semitones, 60 is the C in the middle.
class KeyboardView : public QWidget
{
    Q_OBJECT

public:
    explicit KeyboardView(QWidget* parent = nullptr);

    int firstNote() const { return mFirstNote; }
    void moveByOctaves(int count);
    /// The key that the space bar plays; it comes into view.
    int markedNote() const { return mMarked; }
    void mark(int note);
    std::optional<int> heldNote() const { return mHeld; }
    /// The key under a point; nothing beside the keys.
    std::optional<int> noteAt(const QPointF& point) const;
    QRectF rectOfNote(int note) const;
    QSize sizeHint() const override;

Q_SIGNALS:
    void notePressed(int note);
    void noteReleased();

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void press(std::optional<int> note);
    void drawKey(QPainter& painter, int note) const;
    void drawMark(QPainter& painter) const;
    bool moveMark(int key);
    std::optional<int> noteOfKey(int key) const;

    int mFirstNote = 48;
    int mMarked = 60;
    std::optional<int> mHeld;
    int mHeldKey = 0; ///< of the computer's keyboard
};

} // namespace velloria
