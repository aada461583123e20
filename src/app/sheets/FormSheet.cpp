#include "app/sheets/FormSheet.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace velloria
{

namespace
{

constexpr int kLeastWidth = 300;

} // namespace

FormSheet::FormSheet(const QString& title, const QString& okText, QWidget* parent)
    : QDialog(parent, Qt::Sheet)
    , mForm(new QFormLayout)
    , mButtons(new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this))
{
    setWindowTitle(title);
    setWindowModality(Qt::WindowModal);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 18, 22, 16);
    layout->setSpacing(16);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    // So that the title is not cut.
    layout->addStrut(kLeastWidth);
    mForm->setLabelAlignment(Qt::AlignRight);
    mForm->setHorizontalSpacing(14);
    mForm->setVerticalSpacing(9);
    layout->addLayout(mForm);
    mButtons->button(QDialogButtonBox::Ok)->setText(okText);
    mButtons->button(QDialogButtonBox::Cancel)->setText(qtTrId("cancel"));
    connect(mButtons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(mButtons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(mButtons);
}

void FormSheet::addNote(const QString& text)
{
    auto* const note = new QLabel(text, this);
    note->setWordWrap(true);
    note->setMaximumWidth(340);
    note->setForegroundRole(QPalette::PlaceholderText);
    mForm->addRow(note);
}

void FormSheet::setCondition(std::function<bool()> isAcceptable)
{
    mIsAcceptable = std::move(isAcceptable);
    check();
}

void FormSheet::check()
{
    mButtons->button(QDialogButtonBox::Ok)->setEnabled(!mIsAcceptable || mIsAcceptable());
}

/// The keyboard goes to the first field, and last to the buttons, although they were made first.
void FormSheet::showEvent(QShowEvent* event)
{
    QList<QWidget*> fields;
    for (QWidget* widget = nextInFocusChain(); widget != this; widget = widget->nextInFocusChain()) {
        const bool isField = isAncestorOf(widget) && !mButtons->isAncestorOf(widget) && !widget->focusProxy();
        if (isField && (widget->focusPolicy() & Qt::TabFocus) && widget->isVisibleTo(this))
            fields.append(widget);
    }
    if (!fields.isEmpty()) {
        QWidget* last = fields.last();
        for (QAbstractButton* const button : mButtons->buttons()) {
            setTabOrder(last, button);
            last = button;
        }
        fields.first()->setFocus(Qt::TabFocusReason);
    }
    QDialog::showEvent(event);
}

bool FormSheet::ask()
{
    check();
    return exec() == Accepted;
}

} // namespace velloria
