#include "app/preferences/AppearanceController.h"

#include "app/preferences/Settings.h"
#include "platform/NotificationCenter.h"
#include "platform/UserDefaults.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>

namespace velloria
{

namespace
{

const QString kService = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kInterface = QStringLiteral("org.freedesktop.portal.Settings");
const QString kGroup = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");
constexpr uint kPrefersDark = 1;

} // namespace

AppearanceController::AppearanceController(QObject* parent)
    : QObject(parent)
    , mDesktopPalette(QApplication::palette())
{
    mSettingsToken =
        NotificationCenter::standard().addObserver(Settings::didChange, [this](const void*) { apply(); });
    apply();
    askPortal();
}

AppearanceController::~AppearanceController()
{
    NotificationCenter::standard().removeObserver(mSettingsToken);
}

void AppearanceController::apply()
{
    auto wanted = static_cast<Appearance>(UserDefaults::standard().integerValue(Settings::appearance));
    if (wanted == Appearance::system && mDesktopWantsDark && !ThemePalettes::isDark(mDesktopPalette))
        wanted = Appearance::dark;
    if (static_cast<int>(wanted) == mApplied)
        return;
    const bool wasDesktops = mApplied < 0 || mApplied == static_cast<int>(Appearance::system);
    mApplied = static_cast<int>(wanted);
    if (wanted == Appearance::light)
        QApplication::setPalette(ThemePalettes::light());
    else if (wanted == Appearance::dark)
        QApplication::setPalette(ThemePalettes::dark());
    else if (!wasDesktops)
        QApplication::setPalette(mDesktopPalette);
}

void AppearanceController::askPortal()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    bus.connect(kService, kPath, kInterface, QStringLiteral("SettingChanged"), this,
                SLOT(portalSettingChanged(QString, QString, QDBusVariant)));
    QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kInterface, QStringLiteral("Read"));
    call << kGroup << kKey;
    auto* const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        if (!reply.isError())
            takePortalValue(reply.value().variant());
        watcher->deleteLater();
    });
}

void AppearanceController::portalSettingChanged(const QString& group, const QString& key,
                                                const QDBusVariant& value)
{
    if (group == kGroup && key == kKey)
        takePortalValue(value.variant());
}

void AppearanceController::takePortalValue(const QVariant& value)
{
    // Read wraps the value twice.
    const QVariant inner = value.canConvert<QDBusVariant>() ? value.value<QDBusVariant>().variant() : value;
    mDesktopWantsDark = inner.toUInt() == kPrefersDark;
    apply();
}

} // namespace velloria
