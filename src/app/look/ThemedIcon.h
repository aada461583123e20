#pragma once

#include <QIcon>

namespace velloria
{

/// An icon drawn by us, ":/icons/<name>.svg", in the colour of the text beside it: it follows a change from
/// light to dark, and is pale where its button is disabled.
namespace ThemedIcon
{
QIcon named(const QString& name);
} // namespace ThemedIcon

} // namespace velloria
