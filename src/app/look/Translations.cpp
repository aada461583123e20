#include "app/look/Translations.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

// A static library's resources are not registered by themselves. The macro may not stand in a namespace.
static void registerResources()
{
    Q_INIT_RESOURCE(velloria);
    Q_INIT_RESOURCE(velloria_translations);
}

namespace velloria
{

namespace
{

void installIfFound(QCoreApplication& application, const QLocale& locale, const QString& name,
                    const QString& folder)
{
    auto* const translator = new QTranslator(&application);
    if (translator->load(locale, name, QStringLiteral("_"), folder))
        application.installTranslator(translator);
    else
        delete translator;
}

} // namespace

void installTranslations(QCoreApplication& application)
{
    registerResources();
    const QString folder = QStringLiteral(":/i18n");
    const QLocale english(QLocale::English);
    installIfFound(application, english, QStringLiteral("velloria"), folder);
    // The toolkit's own texts (its file dialog's, say).
    installIfFound(application, QLocale(), QStringLiteral("qtbase"),
                   QLibraryInfo::path(QLibraryInfo::TranslationsPath));
    if (QLocale().language() != QLocale::English)
        installIfFound(application, QLocale(), QStringLiteral("velloria"), folder);
}

} // namespace velloria
