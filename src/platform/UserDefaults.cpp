#include "platform/UserDefaults.h"

#include <QSettings>

namespace velloria
{

UserDefaults& UserDefaults::standard()
{
    static UserDefaults defaults;
    return defaults;
}

UserDefaults::UserDefaults()
    : mSettings(std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope,
                                            QStringLiteral("Velloria"), QStringLiteral("Velloria")))
{
    mSettings->setFallbacksEnabled(false);
}

UserDefaults::~UserDefaults() = default;

void UserDefaults::registerDefault(const QString& key, const QVariant& value)
{
    mRegistered.insert(key, value);
}

QVariant UserDefaults::value(const QString& key) const
{
    const auto found = mOverrides.constFind(key);
    return found != mOverrides.constEnd() ? *found : mSettings->value(key, mRegistered.value(key));
}

bool UserDefaults::isSet(const QString& key) const
{
    return mSettings->contains(key);
}

void UserDefaults::setValue(const QString& key, const QVariant& value)
{
    // The file keeps text: "true" would read back as the integer 0, "1" reads back as true and as 1.
    const bool isBool = value.typeId() == QMetaType::Bool;
    mSettings->setValue(key, isBool ? QVariant(value.toInt()) : value);
}

void UserDefaults::removeValue(const QString& key)
{
    mSettings->remove(key);
}

} // namespace velloria
