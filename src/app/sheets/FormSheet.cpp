#include "app/sheets/FormSheet.h"

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

void FormSheet::setVisible(bool isVisible)
{
    if (isVisible && isHidden())
        putFocusInOrder();
    QDialog::setVisible(isVisible);
}

/// The keyboard goes to the first field, and last to the buttons. They were made first, and a widget goes
/// behind the others when it is put in.
void FormSheet::putFocusInOrder()
{
    layout()->removeWidget(mButtons);
    mButtons->setParent(nullptr);
    layout()->addWidget(mButtons);
    mButtons->show();
    const auto isField = [this](const QWidget* widget) {
        return isAncestorOf(widget) && !widget->focusProxy() && (widget->focusPolicy() & Qt::TabFocus) &&
               widget->isVisibleTo(this) && widget->isEnabledTo(this);
    };
    QWidget* first = nextInFocusChain();
    while (first != this && !isField(first))
        first = first->nextInFocusChain();
    if (first != this)
        first->setFocus(Qt::TabFocusReason);
}

bool FormSheet::ask()
{
    check();
    return exec() == Accepted;
}

} // namespace velloria
