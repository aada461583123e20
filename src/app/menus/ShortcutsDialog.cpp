#include "app/menus/ShortcutsDialog.h"

#include "app/menus/Commands.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr QSize kSize(560, 620);

using Row = std::pair<QString, QString>;

QString table(const QString& title, const std::vector<Row>& rows)
{
    QString text =
        QStringLiteral("<h3>%1</h3><table cellpadding=\"3\" width=\"100%\">").arg(title.toHtmlEscaped());
    for (const Row& row : rows)
        text += QStringLiteral("<tr><td width=\"45%\"><b>%1</b></td><td>%2</td></tr>")
                    .arg(row.first.toHtmlEscaped(), row.second.toHtmlEscaped());
    return text + QStringLiteral("</table>");
}

QString keysOf(const QAction& action)
{
    QStringList keys;
    for (const QKeySequence& sequence : action.shortcuts()) {
        // A letter counts in either case; it is listed once.
        const QString key = sequence.toString(QKeySequence::NativeText);
        if (!(key.startsWith(QLatin1String("Shift+")) && keys.contains(key.mid(6))))
            keys << key;
    }
    return keys.join(QStringLiteral(", "));
}

void collect(const QMenu& menu, std::vector<Row>& rows)
{
    for (const QAction* const action : menu.actions()) {
        if (action->menu())
            collect(*action->menu(), rows);
        else if (!action->shortcuts().isEmpty())
            rows.emplace_back(keysOf(*action), Commands::plainName(*action));
    }
}

std::vector<Row> mouseRows()
{
    return {
        //% "Drag"
        {qtTrId("help-drag"),
         //% "Select on all tracks"
         qtTrId("help-drag-text")},
        //% "Drag from the upper or lower edge of a track, or with Alt"
        {qtTrId("help-edge-drag"),
         //% "Select on this track only"
         qtTrId("help-edge-drag-text")},
        //% "Shift+Click, Shift+Drag, drag an edge of the selection"
        {qtTrId("help-shift-click"),
         //% "Extend or shorten the selection"
         qtTrId("help-shift-click-text")},
        //% "Ctrl while dragging"
        {qtTrId("help-ctrl-drag"),
         //% "Do not snap"
         qtTrId("help-ctrl-drag-text")},
        //% "Double-click"
        {qtTrId("help-double-click"),
         //% "Select everything"
         qtTrId("help-double-click-text")},
        //% "Wheel"
        {qtTrId("help-wheel"),
         //% "Scroll"
         qtTrId("help-wheel-text")},
        //% "Ctrl+Wheel, pinch"
        {qtTrId("help-ctrl-wheel"),
         //% "Zoom around the pointer"
         qtTrId("help-ctrl-wheel-text")},
    };
}

std::vector<Row> keyRows()
{
    return {
        //% "Left, Right"
        {qtTrId("help-arrows"),
         //% "Move the cue by a pixel"
         qtTrId("help-arrows-text")},
        //% "Ctrl+Left, Ctrl+Right"
        {qtTrId("help-ctrl-arrows"),
         //% "Move the cue to the next marker or edge of the selection"
         qtTrId("help-ctrl-arrows-text")},
        //% "Home, End"
        {qtTrId("help-home"),
         //% "Move the cue to the beginning, to the end"
         qtTrId("help-home-text")},
        //% "Shift with these keys"
        {qtTrId("help-shift-keys"),
         //% "Change the selection"
         qtTrId("help-shift-keys-text")},
        //% "Page Up, Page Down"
        {qtTrId("help-page"),
         //% "Scroll by a page"
         qtTrId("help-page-text")},
    };
}

} // namespace

QString ShortcutsDialog::overview(const QMenuBar& menuBar)
{
    //% "Mouse in the waveform"
    QString text = table(qtTrId("help-mouse"), mouseRows());
    //% "Keys in the waveform"
    text += table(qtTrId("help-keys"), keyRows());
    for (const QAction* const action : menuBar.actions()) {
        std::vector<Row> rows;
        if (action->menu())
            collect(*action->menu(), rows);
        if (!rows.empty())
            text += table(Commands::plainName(*action), rows);
    }
    return text;
}

ShortcutsDialog::ShortcutsDialog(const QMenuBar& menuBar, QWidget* parent)
    : QDialog(parent)
{
    //% "Keyboard and Mouse"
    setWindowTitle(qtTrId("help-title"));
    auto* const layout = new QVBoxLayout(this);
    auto* const browser = new QTextBrowser(this);
    browser->setHtml(overview(menuBar));
    browser->setFrameShape(QFrame::NoFrame);
    browser->document()->setDocumentMargin(12);
    layout->addWidget(browser);
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(kSize);
}

} // namespace velloria
