#include "app/progress/WindowAlerts.h"

#include "app/look/ItemNames.h"

#include <QCoreApplication>
#include <QMessageBox>
#include <QPushButton>

namespace velloria
{

namespace
{

void show(QWidget* window, QMessageBox::Icon icon, const QString& message)
{
    QMessageBox box(icon, QString(), ItemNames::wrappable(message), QMessageBox::Ok, window, Qt::Sheet);
    box.setWindowModality(window ? Qt::WindowModal : Qt::ApplicationModal);
    box.exec();
}

/// One sentence a line, with a bullet where there are several.
QString listed(const QStringList& sentences)
{
    return sentences.size() == 1 ? sentences.first()
                                 : QStringLiteral("\u2022 ") + sentences.join(QStringLiteral("\n\u2022 "));
}

} // namespace

void WindowAlerts::showError(const QString& message)
{
    show(mWindow, QMessageBox::Critical, message);
}

void WindowAlerts::showWarning(const QString& message)
{
    show(mWindow, QMessageBox::Warning, message);
}

bool WindowAlerts::confirmLoss(const QString& question, const QStringList& losses)
{
    QMessageBox box(QMessageBox::Warning, QString(), ItemNames::wrappable(question), QMessageBox::Cancel,
                    mWindow, Qt::Sheet);
    box.setWindowModality(Qt::WindowModal);
    box.setInformativeText(ItemNames::wrappable(listed(losses)));
    //% "Save Anyway"
    QPushButton* const goOn = box.addButton(qtTrId("save-anyway"), QMessageBox::AcceptRole);
    box.setDefaultButton(QMessageBox::Cancel);
    box.exec();
    return box.clickedButton() == goOn;
}

void reportError(Alerts& alerts, const MaybeError& error)
{
    if (error && !error->isUserCancelled())
        alerts.showError(error->message);
}

} // namespace velloria
