#pragma once

#include <QString>
#include <QVariant>
#include <memory>

class QSettings;

namespace velloria
{

/// Settings under dotted keys ("view.grid.snapTo") with registered defaults, kept by QSettings. Main thread.
class UserDefaults
{
public:
    /// The one of this process. Tests give it a folder of their own through XDG_CONFIG_HOME.
    static UserDefaults& standard();

    UserDefaults();
    ~UserDefaults();

    /// What value() answers for a key that was never set.
    void registerDefault(const QString& key, const QVariant& value);

    /// The overriding value, else the set one, else the registered default, else an invalid QVariant.
    QVariant value(const QString& key) const;
    bool isSet(const QString& key) const;
    void setValue(const QString& key, const QVariant& value);
    void removeValue(const QString& key);
    /// Stands before the set value for as long as this process runs, and is not kept.
    void overrideValue(const QString& key, const QVariant& value) { mOverrides.insert(key, value); }

    double doubleValue(const QString& key) const { return value(key).toDouble(); }
    int integerValue(const QString& key) const { return value(key).toInt(); }
    bool boolValue(const QString& key) const { return value(key).toBool(); }
    QString stringValue(const QString& key) const { return value(key).toString(); }

private:
    std::unique_ptr<QSettings> mSettings;
    QMap<QString, QVariant> mRegistered;
    QMap<QString, QVariant> mOverrides;
};

} // namespace velloria
