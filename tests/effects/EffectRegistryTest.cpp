#include "effects/EffectKit.h"
#include "platform/UserDefaults.h"

using namespace velloria;

namespace
{

TEST(EffectRegistry, NamesItsEffects)
{
    const std::pair<const char*, const char*> expected[] = {{"Amplify...", "amplify"},
                                                            {"Normalize...", "normalize"},
                                                            {"Compressor...", "compress"},
                                                            {"Expander...", "expand"},
                                                            {"Noise Gate...", "noise gate"},
                                                            {"Reverb...", "reverb"},
                                                            {"Fade In", "fade in"},
                                                            {"Fade Out", "fade out"},
                                                            {"Invert", "invert"},
                                                            {"Reverse", "reverse"},
                                                            {"Swap Channels", "swap channels"},
                                                            {"DC Offset...", "dc offset"},
                                                            {"Fade Special...", "fade special"},
                                                            {"Interpolate", "interpolate"},
                                                            {"Add Noise...", "add noise"},
                                                            {"Add More Cowbell...", "add more cowbell"},
                                                            {"Graphic Equalizer...", "equalize"},
                                                            {"Graphic EQ - 10 Band...", "equalize 10"},
                                                            {"Graphic EQ - 3 Band...", "equalize 3"},
                                                            {"Pitch and Tempo...", "change pitch"},
                                                            {"High Pass Filter...", "high pass"},
                                                            {"Low Pass Filter...", "low pass"},
                                                            {"Delay...", "add delay"},
                                                            {"Flanger...", "flange"},
                                                            {"Chorus...", "add chorus"}};
    for (const auto& [title, scriptName] : expected) {
        const EffectEntry* entry = EffectRegistry::effectWithScriptName(QString::fromLatin1(scriptName));
        ASSERT_TRUE(entry) << scriptName;
        EXPECT_EQ(entry->menuTitle, QString::fromLatin1(title));
    }
    EXPECT_FALSE(EffectRegistry::effectWithScriptName(QStringLiteral("sing")));
}

TEST(EffectRegistry, DescribesEveryEffectCompletely)
{
    QSet<QString> scriptNames;
    for (const EffectEntry& entry : EffectRegistry::effects()) {
        SCOPED_TRACE(entry.scriptName.toStdString());
        EXPECT_FALSE(scriptNames.contains(entry.scriptName));
        scriptNames.insert(entry.scriptName);
        EXPECT_FALSE(entry.summary.isEmpty() || entry.menuGroup.isEmpty());
        const std::unique_ptr<Filter> filter = entry.make(entry.menuTitle);
        EXPECT_EQ(entry.menuTitle.endsWith(QLatin1String("...")), filter->hasOptionsDialog());
        EXPECT_EQ(filter->hasOptionsDialog(), !filter->parameters().isEmpty());
        for (const ParameterDescription& parameter : filter->parameters().descriptions()) {
            EXPECT_FALSE(parameter.name.isEmpty() || parameter.summary.isEmpty());
            EXPECT_FALSE(parameter.isList() && parameter.defaultList.empty());
            EXPECT_TRUE(parameter.settingsKey.startsWith(QLatin1String("filter.")));
            for (const double value :
                 {parameter.minimum, parameter.maximum, parameter.defaultValue, parameter.scriptDefaultValue})
                EXPECT_EQ(parameter.allowedValue(value), value);
        }
    }
}

TEST(FilterParameters, ComeFromDialogDefaultsScriptsAndSettings)
{
    // Target, independent, RMS.
    using Values = std::vector<double>;
    const auto valuesOf = [](const Filter& filter) {
        return Values{filter.parameterValue(0), filter.parameterValue(1), filter.parameterValue(2)};
    };
    const auto filter = kit::effectNamed(QStringLiteral("normalize"));
    EXPECT_EQ(valuesOf(*filter), (Values{0, 1, 0}));
    filter->loadDefaults();
    EXPECT_EQ(valuesOf(*filter), (Values{0, 1, 0})) << "nothing kept yet";
    filter->setParameters({});
    EXPECT_EQ(valuesOf(*filter), (Values{0, 0, 0}));
    filter->setParameters({{QStringLiteral("Peak"), QStringLiteral("-3.5")},
                           {QStringLiteral("Independently"), 2},
                           {QStringLiteral("rms"), true}});
    EXPECT_EQ(valuesOf(*filter), (Values{-3.5, 1, 1}));
    filter->saveDefaults();

    EXPECT_EQ(UserDefaults::standard().doubleValue(QStringLiteral("filter.normalize.target")), -3.5);
    EXPECT_EQ(UserDefaults::standard().integerValue(QStringLiteral("filter.normalize.rms")), 1);
    const auto next = kit::effectNamed(QStringLiteral("normalize"));
    next->loadDefaults();
    EXPECT_EQ(valuesOf(*next), (Values{-3.5, 1, 1}));
    for (const char* key : {"target", "independent", "rms"})
        UserDefaults::standard().removeValue(QStringLiteral("filter.normalize.") + QLatin1String(key));
}

TEST(FilterParameters, StayWithinTheirHardLimits)
{
    const auto filter = kit::effectNamed(QStringLiteral("amplify"));
    const std::pair<double, double> cases[] = {{60.0, 60.0}, {1e9, 200.0}, {-1e9, -200.0}};
    for (const auto& [given, kept] : cases) {
        filter->setParameterValue(0, given);
        EXPECT_EQ(filter->parameterValue(0), kept);
    }
    for (const double none :
         {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        filter->setParameterValue(0, none);
        EXPECT_EQ(filter->parameterValue(0), -200.0) << "what is no number changes nothing";
    }
    ParameterDescription choice;
    choice.kind = ParameterDescription::Kind::choice;
    choice.choices = {QStringLiteral("Low"), QStringLiteral("High")};
    EXPECT_EQ(choice.valueOfVariant(QStringLiteral("high")), 1.0);
    EXPECT_EQ(choice.valueOfVariant(7), 1.0);
    EXPECT_EQ(choice.valueOfVariant(QStringLiteral("loud")), std::nullopt);
}

} // namespace
