#include "Classes/CoreAudio/VLAudioObject.h"
#include "platform/Log.h"
#include "platform/NotificationCenter.h"
#include "platform/hardware/SimulatedHardware.h"

#include <gtest/gtest.h>

using namespace velloria;

namespace
{

class VLAudioObjectTest : public testing::Test
{
protected:
    VLAudioObjectTest() { AudioHardware::setCurrent(hardware); }
    ~VLAudioObjectTest() override { AudioHardware::setCurrent(nullptr); }

    VLAudioObject add(const HardwareDevice& device) const
    {
        HardwareState state = hardware->state();
        state.devices.push_back(device);
        hardware->setState(state);
        return VLAudioObject(device.id);
    }

    std::shared_ptr<SimulatedHardware> hardware = std::make_shared<SimulatedHardware>();
};

} // namespace

TEST_F(VLAudioObjectTest, FindsDevicesByUIDAndTheDefaultOnes)
{
    EXPECT_EQ(VLAudioObject::availableDevices(),
              (std::vector<VLAudioObject>{VLAudioObject(2), VLAudioObject(3)}));
    EXPECT_EQ(VLAudioObject::defaultOutputDevice(), VLAudioObject(2));
    EXPECT_EQ(VLAudioObject::defaultInputDevice(), VLAudioObject(3));
    EXPECT_EQ(VLAudioObject::deviceForUID(QStringLiteral("in")), VLAudioObject(3));
    EXPECT_EQ(VLAudioObject::deviceForUID(QStringLiteral("none")), std::nullopt);
    EXPECT_EQ(VLAudioObject::deviceForUID(QString()), std::nullopt);
    const VLAudioObject output(2);
    EXPECT_EQ(output.name(), QStringLiteral("Simulated out"));
    EXPECT_EQ(output.UID(), QStringLiteral("out"));
    EXPECT_EQ(output.nominalSampleRate(), 44100.0);
    EXPECT_TRUE(output.hasOutputStreams());
    EXPECT_FALSE(output.hasInputStreams());
}

TEST_F(VLAudioObjectTest, CountsTheChannelsOfAllStreams)
{
    HardwareDevice device = SimulatedHardware::inputDevice(9, QStringLiteral("many"), 48000.0);
    device.input.streamChannels = {2, 6};
    const VLAudioObject object = add(device);
    EXPECT_EQ(object.numberOfChannelsAvailableForScope(HardwareCode::kInput), 8U);
    EXPECT_EQ(object.numberOfChannelsAvailableForScope(HardwareCode::kOutput), 2U);
    EXPECT_EQ(object.ownedObjects().size(), 2U);
}

TEST_F(VLAudioObjectTest, SetsTheGainWhereItCanBeSet)
{
    struct Case {
        std::vector<uint32_t> settable;
        std::vector<uint32_t> changed;
        float gain;
    };
    uint32_t id = 10;
    for (const Case& c :
         {Case{{0, 1, 2}, {0}, 0.25F}, {{1, 2}, {1, 2}, 0.25F}, {{1}, {1}, 0.25F}, {{}, {}, 0}}) {
        HardwareDevice device = SimulatedHardware::inputDevice(id, QString::number(id), 48000.0);
        for (const uint32_t element : {0U, 1U, 2U})
            device.input.gains[element] = {1.0F, std::find(c.settable.begin(), c.settable.end(), element) !=
                                                     c.settable.end()};
        const VLAudioObject object = add(device);
        object.setMasterInputGain(0.25F);
        EXPECT_EQ(object.masterInputGain(), c.gain);
        for (const uint32_t element : {0U, 1U, 2U}) {
            const bool isChanged = std::find(c.changed.begin(), c.changed.end(), element) != c.changed.end();
            EXPECT_EQ(object.gainForScope(HardwareCode::kInput, element), isChanged ? 0.25F : 1.0F);
        }
        ++id;
    }
}

TEST_F(VLAudioObjectTest, OfADeviceThatWentAwayAnswersNothingAndLogsIt)
{
    const VLAudioObject input(3);
    hardware->unplug(QStringLiteral("in"));
    const LogCapture log;
    EXPECT_EQ(input.name(), QString());
    EXPECT_EQ(input.nominalSampleRate(), 0.0);
    EXPECT_FALSE(input.hasInputStreams());
    EXPECT_FALSE(input.isGainSettableForScope(HardwareCode::kInput, 0));
    EXPECT_EQ(input.numberOfChannelsAvailableForScope(HardwareCode::kInput), 2U);
    EXPECT_TRUE(log.hasLogged(QStringLiteral("AudioObjectGetPropertyDataSize() error 560947818")));
    EXPECT_EQ(VLAudioObject::defaultInputDevice(), VLAudioObject(0));
}

TEST_F(VLAudioObjectTest, PostsWhatChanges)
{
    int numDeviceChanges = 0;
    int numRateChanges = 0;
    NotificationCenter& center = NotificationCenter::standard();
    const auto devices =
        center.addObserver(QStringLiteral("devices"), [&](const void*) { ++numDeviceChanges; });
    const auto rates = center.addObserver(QStringLiteral("rates"), [&](const void*) { ++numRateChanges; });
    {
        const VLAudioObject system(HardwareChange::kSystemObject);
        const AudioPropertyNotification list(QStringLiteral("devices"), system, HardwareCode::kDevices);
        const AudioPropertyNotification rate(QStringLiteral("rates"), VLAudioObject(2),
                                             HardwareCode::kNominalSampleRate);
        HardwareState state = hardware->state();
        state.devices[0].sampleRate = 96000.0;
        hardware->setState(state);
        EXPECT_EQ(numRateChanges, 1);
        EXPECT_EQ(numDeviceChanges, 0);
        hardware->unplug(QStringLiteral("in"));
        EXPECT_EQ(numDeviceChanges, 1);
    }
    hardware->unplug(QStringLiteral("out"));
    EXPECT_EQ(numDeviceChanges, 1);
    center.removeObserver(devices);
    center.removeObserver(rates);
}
