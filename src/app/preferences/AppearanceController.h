#pragma once

#include "app/look/Theme.h"

#include <QDBusVariant>
#include <QObject>
#include <QPalette>

namespace velloria
{

/// Makes the whole program light or dark: as the preference says, or as the desktop does. Desktops whose
/// theme does not reach the toolkit's palette are asked through their settings portal, without waiting for
/// the answer.
class AppearanceController : public QObject
{
    Q_OBJECT

public:
    explicit AppearanceController(QObject* parent = nullptr);
    ~AppearanceController() override;

    void apply();

private Q_SLOTS:
    void portalSettingChanged(const QString& group, const QString& key, const QDBusVariant& value);

private:
    void askPortal();
    void takePortalValue(const QVariant& value);

    QPalette mDesktopPalette;
    bool mDesktopWantsDark = false;
    int mSettingsToken = 0;
    int mApplied = -1; ///< the Appearance applied last; the desktop's own palette at first
};

} // namespace velloria
