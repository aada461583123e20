#include "app/look/EffectWords.h"

#include "effects/EffectTexts.h"

#include <QCoreApplication>
#include <QLocale>

namespace velloria
{

QString EffectWords::word(const QString& english)
{
    // The catalogue names these texts by themselves, so one that it lacks comes back as it is.
    return english.isEmpty() ? english : qtTrId(english.toUtf8().constData());
}

QString EffectWords::title(const QString& menuTitle)
{
    return word(EffectTexts::withoutPoints(menuTitle));
}

QString EffectWords::menuTitle(const QString& menuTitle)
{
    QString text = title(menuTitle).replace(u'&', QLatin1String("&&"));
    if (menuTitle.endsWith(QLatin1String("...")))
        text += QChar(0x2026);
    return text;
}

QString EffectWords::said(const EffectRemark& remark)
{
    QString text = word(EffectRemark::text(remark.kind));
    for (const QVariant& argument : remark.arguments)
        text = text.arg(argument.typeId() == QMetaType::Double
                            ? QLocale().toString(argument.toDouble(), 'f', QLocale::FloatingPointShortest)
                            : argument.toString());
    return text;
}

ParameterDescription EffectWords::translated(ParameterDescription parameter)
{
    for (QString* const text : {&parameter.name, &parameter.summary, &parameter.unit})
        *text = word(*text);
    for (QString& choice : parameter.choices)
        choice = word(choice);
    return parameter;
}

} // namespace velloria
