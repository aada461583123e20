#pragma once

#include <QObject>
#include <QPointer>
#include <functional>
#include <vector>

class QWidget;

namespace velloria
{

/// Knows whether the main thread is inside a long operation that handles events meanwhile. While it is, no
/// mouse, key, drop or close event reaches a window, except the operation's own panel; Escape cancels
/// wherever it is pressed. What must wait until then hears becameIdle(). Main thread.
class BusyState : public QObject
{
    Q_OBJECT

public:
    static BusyState& shared();

    bool isBusy() const { return !mOperations.empty(); }
    /// Asks what runs to end, as Escape does.
    void cancel() const;

    /// One long operation; the last one begun gets the events.
    class Operation
    {
    public:
        explicit Operation(std::function<void()> cancel);
        ~Operation();
        Operation(const Operation&) = delete;
        Operation& operator=(const Operation&) = delete;

        /// The only window that may be used meanwhile.
        void setPanel(QWidget* panel) { mPanel = panel; }
        const QWidget* panel() const { return mPanel; }
        void cancel() const;

    private:
        std::function<void()> mCancel;
        QPointer<QWidget> mPanel;
    };

Q_SIGNALS:
    void becameIdle();

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    void begin(Operation* operation);
    void end(Operation* operation);
    bool belongsToPanel(QObject* object) const;

    std::vector<Operation*> mOperations;
};

} // namespace velloria
