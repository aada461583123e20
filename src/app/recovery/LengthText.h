#pragma once

#include <QString>

namespace velloria
{

/// "0:07", "12:04", "1:00:00": whole seconds, rounded down.
QString lengthText(double seconds);

} // namespace velloria
