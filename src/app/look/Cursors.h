#pragma once

#include <QCursor>

namespace velloria
{

/// Pointers that the system does not have.
namespace Cursors
{
/// A text beam beside two small lanes of which one is filled: a drag selects on one track only.
QCursor selectOneTrack(double devicePixelRatio);
} // namespace Cursors

} // namespace velloria
