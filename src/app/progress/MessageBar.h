#pragma once

#include <QWidget>

class QLabel;

namespace velloria
{

/// A line over the waveform that says something which nobody has to answer; it goes when it is closed or the
/// matter is settled.
class MessageBar : public QWidget
{
    Q_OBJECT

public:
    explicit MessageBar(QWidget* parent = nullptr);

    void showMessage(const QString& message);
    QString message() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* mText;
};

} // namespace velloria
