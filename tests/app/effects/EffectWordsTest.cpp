#include "app/look/EffectWords.h"

#include "effects/EffectTexts.h"

#include <QCoreApplication>
#include <QTranslator>
#include <gtest/gtest.h>

namespace velloria::test
{

/// A language in which every text of one word is that word in brackets.
class Brackets : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char*, const char* text, const char*, int) const override
    {
        const QString english = QString::fromUtf8(text);
        return english.contains(u' ') ? QString() : QStringLiteral("[%1]").arg(english);
    }
};

TEST(EffectWords, AreAllInTheCatalogue)
{
    QTranslator english;
    ASSERT_TRUE(english.load(QStringLiteral(":/i18n/velloria_en.qm")));
    for (const QString& text : EffectTexts::all())
        EXPECT_EQ(english.translate("", text.toUtf8().constData()).toStdString(), text.toStdString())
            << "build velloria_app_look_lupdate, which adds it to the catalogues";
}

TEST(EffectWords, AreSaidInTheLanguageOfThePerson)
{
    Brackets language;
    QCoreApplication::installTranslator(&language);
    ParameterDescription parameter;
    parameter.name = QStringLiteral("Gain");
    parameter.summary = QStringLiteral("No such text.");
    parameter.choices = {QStringLiteral("Sine")};
    parameter = EffectWords::translated(parameter);
    EXPECT_EQ(EffectWords::menuTitle(QStringLiteral("Delay...")), QStringLiteral("[Delay]…"));
    EXPECT_EQ(EffectWords::title(QStringLiteral("Invert")), QStringLiteral("[Invert]"));
    QCoreApplication::removeTranslator(&language);
    EXPECT_EQ(parameter.name, QStringLiteral("[Gain]"));
    EXPECT_EQ(parameter.summary, QStringLiteral("No such text."));
    EXPECT_EQ(parameter.choices, QStringList(QStringLiteral("[Sine]")));
    EXPECT_TRUE(parameter.unit.isEmpty());
}

} // namespace velloria::test
