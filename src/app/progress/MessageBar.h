#pragma once

#include <QWidget>
#include <memory>

class QLabel;
class QPushButton;
class QUndoStack;

namespace velloria
{

/// A line over the waveform that says something which nobody has to answer; it goes when it is closed or the
/// matter is settled. What was done can be offered to be undone.
class MessageBar : public QWidget
{
    Q_OBJECT

public:
    explicit MessageBar(QWidget* parent = nullptr);

    void showMessage(const QString& message);
    /// With a button that takes the last step back; message and offer go when the history moves or ends.
    /// While the step is still open (part of a script, say) it is the one that comes next.
    void offerUndo(const QString& message, QUndoStack& history, bool isStepOpen);
    /// Without a button; it goes with the next step alike.
    void showUntilStep(const QString& message, QUndoStack& history, bool isStepOpen);
    QString message() const;
    bool offersUndo() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void hideAtStep(QUndoStack& history, int from, int to);

    QLabel* mText;
    QPushButton* mUndo;
    /// What a message hears of the history; it ends with the message.
    std::unique_ptr<QObject> mOffer;
};

} // namespace velloria
