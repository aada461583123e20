#pragma once

#include "effects/frame/ParameterDescription.h"

#include <QVariantMap>
#include <functional>
#include <map>
#include <vector>

namespace velloria
{

/// The parameters of an effect or generator: their values, which always lie within their hard limits, where
/// they are kept from one time to the next, and what a script gives them. Whoever shows them observes them.
/// Main thread; who reads the values on another one sees to it that nobody sets them meanwhile.
class EffectParameters
{
public:
    using Observer = std::function<void(size_t index)>;

    /// With the defaults of the dialog. The descriptions outlive it.
    explicit EffectParameters(const std::vector<ParameterDescription>& descriptions);
    EffectParameters(const EffectParameters&) = delete;
    EffectParameters& operator=(const EffectParameters&) = delete;

    size_t size() const { return mDescriptions.size(); }
    bool isEmpty() const { return mDescriptions.empty(); }
    const std::vector<ParameterDescription>& descriptions() const { return mDescriptions; }
    const ParameterDescription& operator[](size_t index) const { return mDescriptions.at(index); }

    double value(size_t index) const { return mValues.at(index); }
    bool isOn(size_t index) const { return value(index) != 0.0; }
    /// Brought within the limits; what is no number changes nothing.
    void setValue(size_t index, double value);
    const std::vector<double>& list(size_t index) const { return mLists.at(index); }
    /// Numbers beyond the limits are brought within; a list with what is no number changes nothing.
    void setList(size_t index, std::vector<double> list);
    /// False while another parameter makes this one meaningless.
    bool isUsed(size_t index) const;

    /// Back to the default of the dialog.
    void reset(size_t index);
    void reset();
    /// Takes the values kept in the user defaults; absent keys change nothing.
    void loadSettings();
    void saveSettings() const;
    /// Takes the arguments of a scripting command; absent keys give the script default.
    void setArguments(const QVariantMap& arguments);

    /// Called after a value has changed, on the thread that changed it. Gives a token for removeObserver().
    int addObserver(Observer observer);
    void removeObserver(int token) { mObservers.erase(token); }

private:
    void setArgument(size_t index, const QVariant& argument);
    void notify(size_t index) const;

    const std::vector<ParameterDescription>& mDescriptions;
    std::vector<double> mValues;
    std::vector<std::vector<double>> mLists;
    std::map<int, Observer> mObservers;
    int mNextToken = 0;
};

} // namespace velloria
