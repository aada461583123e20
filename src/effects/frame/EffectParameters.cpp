#include "effects/frame/EffectParameters.h"

#include "platform/UserDefaults.h"

namespace velloria
{

EffectParameters::EffectParameters(const std::vector<ParameterDescription>& descriptions)
    : mDescriptions(descriptions)
    , mValues(descriptions.size())
    , mLists(descriptions.size())
{
    reset();
}

void EffectParameters::setValue(size_t index, double value)
{
    const std::optional<double> allowed = mDescriptions.at(index).allowedValue(value);
    if (!allowed || *allowed == mValues[index])
        return;
    mValues[index] = *allowed;
    notify(index);
}

void EffectParameters::setList(size_t index, std::vector<double> list)
{
    for (double& number : list) {
        const std::optional<double> allowed = mDescriptions.at(index).allowedValue(number);
        if (!allowed)
            return;
        number = *allowed;
    }
    if (list == mLists.at(index))
        return;
    mLists[index] = std::move(list);
    notify(index);
}

bool EffectParameters::isUsed(size_t index) const
{
    const std::optional<ParameterCondition>& condition = mDescriptions.at(index).usedWhen;
    return !condition || value(condition->parameter) == condition->value;
}

void EffectParameters::reset(size_t index)
{
    if (mDescriptions.at(index).isList())
        setList(index, mDescriptions[index].defaultList);
    else
        setValue(index, mDescriptions[index].defaultValue);
}

void EffectParameters::reset()
{
    for (size_t i = 0; i < size(); ++i)
        reset(i);
}

void EffectParameters::loadSettings()
{
    for (size_t i = 0; i < size(); ++i) {
        const ParameterDescription& parameter = mDescriptions[i];
        const QVariant kept = UserDefaults::standard().value(parameter.readKey());
        if (parameter.isList()) {
            const std::optional<std::vector<double>> list = parameter.listOfVariant(kept);
            if (list && list->size() >= parameter.fewestInList)
                setList(i, *list);
        } else if (const std::optional<double> value = parameter.valueOfVariant(kept)) {
            // As a value, any number but 0 has switched a toggle on.
            setValue(i, parameter.isOnOnlyWhenOne && kept.toDouble() != 1.0 ? 0.0 : *value);
        }
    }
}

void EffectParameters::saveSettings() const
{
    for (size_t i = 0; i < size(); ++i) {
        const ParameterDescription& parameter = mDescriptions[i];
        QVariant kept = mValues[i];
        if (parameter.isList())
            kept = QVariantList(mLists[i].begin(), mLists[i].end());
        else if (parameter.kind != ParameterDescription::Kind::number)
            kept = static_cast<int>(mValues[i]);
        UserDefaults::standard().setValue(parameter.settingsKey, kept);
    }
}

void EffectParameters::setArguments(const QVariantMap& arguments)
{
    for (size_t i = 0; i < size(); ++i) {
        if (mDescriptions[i].isList())
            setList(i, mDescriptions[i].defaultList);
        else
            setValue(i, mDescriptions[i].scriptDefaultValue);
    }
    for (size_t i = 0; i < size(); ++i)
        if (!mDescriptions[i].scriptKey.isEmpty())
            setArgument(i, arguments.value(mDescriptions[i].scriptKey));
}

void EffectParameters::setArgument(size_t index, const QVariant& argument)
{
    const ParameterDescription& parameter = mDescriptions[index];
    if (parameter.isList()) {
        if (std::optional<std::vector<double>> list = parameter.listOfVariant(argument))
            setList(index, std::move(*list));
        return;
    }
    std::optional<double> value = parameter.valueOfVariant(argument);
    const std::optional<ScriptSwitch>& other = parameter.scriptSwitch;
    if (value && other && argument.toDouble() <= other->leftOutUpTo)
        value.reset();
    // Divided before it is brought within the limits, which are those of the value.
    if (value && parameter.scriptFactor != 1.0)
        value = argument.toDouble() / parameter.scriptFactor;
    if (value)
        setValue(index, *value);
    if (other)
        setValue(other->parameter, value ? other->whenGiven : other->whenLeftOut);
}

int EffectParameters::addObserver(Observer observer)
{
    mObservers.emplace(mNextToken, std::move(observer));
    return mNextToken++;
}

void EffectParameters::notify(size_t index) const
{
    // One of them may take itself or another away.
    const std::map<int, Observer> observers = mObservers;
    for (const auto& [token, observer] : observers)
        if (mObservers.contains(token))
            observer(index);
}

} // namespace velloria
