#include "effects/frame/EffectParameters.h"

#include "effects/frame/PresetRecord.h"
#include "formats/streams/BigEndianOutputStream.h"
#include "platform/Log.h"
#include "platform/UserDefaults.h"

#include <gtest/gtest.h>

using namespace velloria;

namespace
{

using Kind = ParameterDescription::Kind;

enum Index : size_t { automatic, gain, time, shape, points };

/// Of every kind, with every way in which settings and scripts treat some of them differently.
const std::vector<ParameterDescription>& descriptions()
{
    static const std::vector<ParameterDescription> list = [] {
        std::vector<ParameterDescription> made(5);
        made[automatic].kind = Kind::toggle;
        made[automatic].defaultValue = 1;
        made[automatic].scriptDefaultValue = 1;
        made[automatic].isOnOnlyWhenOne = true;
        made[automatic].settingsKey = QStringLiteral("filter.test.automatic");
        made[gain].hardMinimum = -100;
        made[gain].hardMaximum = 100;
        made[gain].settingsKey = QStringLiteral("filter.test.gain");
        made[gain].scriptKey = QStringLiteral("Gain");
        made[gain].scriptSwitch = ScriptSwitch{automatic, 0, 1, -9999};
        made[gain].usedWhen = ParameterCondition{automatic, 0};
        made[time].defaultValue = 0.5;
        made[time].scriptDefaultValue = 0.25;
        made[time].hardMinimum = 0;
        made[time].hardMaximum = 2;
        made[time].settingsKey = QStringLiteral("filter.test.time");
        made[time].scriptKey = QStringLiteral("Percent");
        made[time].scriptFactor = 100;
        made[shape].kind = Kind::choice;
        made[shape].choices = {QStringLiteral("Triangle"), QStringLiteral("Sine")};
        made[shape].defaultValue = 1;
        made[shape].settingsKey = QStringLiteral("filter.test.shapeWritten");
        made[shape].settingsReadKey = QStringLiteral("filter.test.shapeRead");
        made[points].kind = Kind::list;
        made[points].defaultList = {0, 1, 1, 1};
        made[points].fewestInList = 4;
        made[points].settingsKey = QStringLiteral("filter.test.points");
        made[points].scriptKey = QStringLiteral("Points");
        return made;
    }();
    return list;
}

class EffectParametersTest : public testing::Test
{
protected:
    ~EffectParametersTest() override
    {
        for (const ParameterDescription& parameter : descriptions()) {
            UserDefaults::standard().removeValue(parameter.settingsKey);
            UserDefaults::standard().removeValue(parameter.readKey());
        }
    }

    EffectParameters parameters{descriptions()};
};

TEST_F(EffectParametersTest, AreKeptUnderTheirKeys)
{
    parameters.setValue(automatic, 0);
    parameters.setValue(gain, -3.5);
    parameters.setValue(shape, 0);
    parameters.setList(points, {0, 0, 0.5, 1.0 / 3.0, 1, 0});
    parameters.saveSettings();
    EXPECT_EQ(UserDefaults::standard().value(QStringLiteral("filter.test.shapeWritten")).toInt(), 0);
    EffectParameters next(descriptions());
    next.loadSettings();
    EXPECT_FALSE(next.isOn(automatic));
    EXPECT_EQ(next.value(gain), -3.5);
    EXPECT_EQ(next.value(time), 0.5);
    EXPECT_EQ(next.value(shape), 1) << "written elsewhere than it is read";
    EXPECT_EQ(next.list(points), parameters.list(points));
}

TEST_F(EffectParametersTest, SettingsThatAreNoneLeaveTheDefault)
{
    struct Case {
        Index index;
        QVariant kept;
        double value;
    };
    const Case cases[] = {{automatic, 1, 1},
                          {automatic, 2, 0},
                          {automatic, 0, 0},
                          {automatic, QStringLiteral("1"), 1},
                          {gain, QStringLiteral("loud"), 0},
                          {gain, QStringLiteral("nan"), 0},
                          {gain, 1e9, 100},
                          {time, -1, 0}};
    for (const Case& c : cases) {
        EffectParameters loaded(descriptions());
        UserDefaults::standard().setValue(descriptions()[c.index].readKey(), c.kept);
        loaded.loadSettings();
        EXPECT_EQ(loaded.value(c.index), c.value) << c.kept.toString().toStdString();
    }
    for (const QVariantList& kept : {QVariantList{}, {1, 2, 3}, {0, 1, 1, QStringLiteral("inf")}}) {
        EffectParameters loaded(descriptions());
        UserDefaults::standard().setValue(descriptions()[points].settingsKey, kept);
        loaded.loadSettings();
        EXPECT_EQ(loaded.list(points), (std::vector<double>{0, 1, 1, 1}));
    }
}

TEST_F(EffectParametersTest, OneScriptKeySetsAValueAndSwitchesAnother)
{
    struct Case {
        QVariantMap arguments;
        double isAutomatic;
        double gainDB;
    };
    const QString key = QStringLiteral("Gain");
    const Case cases[] = {{{}, 1, 0},
                          {{{key, 5}}, 0, 5},
                          {{{key, -9999}}, 1, 0},
                          {{{key, -10000}}, 1, 0},
                          {{{key, 500}}, 0, 100}};
    for (const Case& c : cases) {
        parameters.setValue(gain, 77);
        parameters.setArguments(c.arguments);
        EXPECT_EQ(parameters.value(automatic), c.isAutomatic);
        EXPECT_EQ(parameters.value(gain), c.gainDB);
        EXPECT_EQ(parameters.isUsed(gain), c.isAutomatic == 0);
        EXPECT_EQ(parameters.value(time), 0.25);
    }
    // A list of any length counts, and an argument in percent is a fraction.
    parameters.setArguments(
        {{QStringLiteral("Points"), QVariantList{0.5, 2}}, {QStringLiteral("Percent"), 150}});
    EXPECT_EQ(parameters.list(points), (std::vector<double>{0.5, 2}));
    EXPECT_EQ(parameters.value(time), 1.5);
}

TEST_F(EffectParametersTest, TellObserversOfRealChanges)
{
    std::vector<size_t> changed;
    const int token = parameters.addObserver([&](size_t index) {
        changed.push_back(index);
        // As an effect does that computes one from another.
        if (index == time)
            parameters.setValue(gain, -6);
    });
    parameters.setValue(time, 1);
    parameters.setValue(time, 1);
    parameters.setValue(time, std::numeric_limits<double>::quiet_NaN());
    parameters.setList(points, {0, 0, 1, std::numeric_limits<double>::infinity()});
    parameters.setList(points, {0, 0, 1, 1});
    EXPECT_EQ(changed, (std::vector<size_t>{time, gain, points}));
    parameters.removeObserver(token);
    parameters.reset();
    EXPECT_EQ(changed.size(), 3U);
}

/// Seconds in milliseconds, the toggle and a whole number; an older record has other widths.
PresetFormat format()
{
    using Type = PresetField::Type;
    return {QStringLiteral("Test"),
            {{fourCharCode("test"),
              220,
              {{Type::float64, time, 1000}, {Type::uint8, automatic}, {Type::int32, shape}}},
             {fourCharCode("olde"), 200, {{Type::float32, gain}, {Type::rest, points}}}},
            QStringLiteral("Invalid preset file")};
}

TEST_F(EffectParametersTest, PresetsAreRecordsWithoutGaps)
{
    parameters.setValue(time, 0.125);
    parameters.setValue(shape, 0);
    const QByteArray record = PresetRecord::write(format(), parameters);
    EXPECT_EQ(record.toHex(), QByteArray("74657374"
                                         "000000dc"
                                         "405f400000000000"
                                         "01"
                                         "00000000"));
    EffectParameters read(descriptions());
    EXPECT_FALSE(PresetRecord::read(format(), record + "more", read));
    EXPECT_EQ(read.value(time), 0.125);
    EXPECT_EQ(read.value(shape), 0);

    BigEndianOutputStream older;
    older.writeUInt32(fourCharCode("olde"));
    older.writeSInt32(200);
    older.writeFloat32(1e9F);
    for (const double number : {0.0, 0.25, 1.0, 0.5, 7.0})
        older.writeFloat64(number);
    EXPECT_FALSE(PresetRecord::read(format(), older.data(), read));
    EXPECT_EQ(read.value(gain), 100) << "brought within its limits";
    EXPECT_EQ(read.list(points), (std::vector<double>{0, 0.25, 1, 0.5})) << "half a point is none";
}

TEST_F(EffectParametersTest, OtherRecordsChangeNothing)
{
    const QByteArray record = PresetRecord::write(format(), parameters);
    QByteArray otherCode = record;
    otherCode[0] = 'T';
    QByteArray otherVersion = record;
    otherVersion[7] = char(200);
    QByteArray noNumber = record;
    noNumber.replace(8, 8, QByteArray::fromHex("7ff8000000000000"));
    QByteArray shortList("olde\0\0\0\xC8\0\0\0\0", 12);
    shortList.append(31, '\0');
    for (const QByteArray& wrong :
         {otherCode, otherVersion, noNumber, shortList, record.chopped(1), record.first(7), QByteArray()}) {
        const LogCapture log;
        EffectParameters read(descriptions());
        read.setValue(time, 1.25);
        const MaybeError error = PresetRecord::read(format(), wrong, read);
        ASSERT_TRUE(error);
        EXPECT_EQ(error->code, Error::Code::corruptFile);
        EXPECT_EQ(read.value(time), 1.25);
        EXPECT_EQ(log.logged(), QStringList(QStringLiteral("Invalid preset file")));
    }
}

} // namespace
