#pragma once

#include <QObject>

namespace velloria
{

/// Shows every label, message and tool tip of the program as plain text: the toolkit would take the name of a
/// file or a marker that looks like markup for markup. A label that means to have markup asks for
/// Qt::RichText itself.
class PlainTexts : public QObject
{
public:
    /// For all of the application as long as this lives. Needs a QApplication.
    explicit PlainTexts(QObject* parent = nullptr);

    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace velloria
