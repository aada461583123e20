#pragma once

#include <QString>

namespace velloria
{

/// The system's clipboard as far as the model needs it. The editor installs one over the desktop's clipboard;
/// without one, text is kept in memory. Main thread.
class Pasteboard
{
public:
    virtual ~Pasteboard() = default;
    virtual void setText(const QString& text) = 0;
    virtual QString text() const = 0;

    /// The general pasteboard.
    static Pasteboard& general();

    /// Replaces it; not owned. Null brings the one in memory back.
    static void install(Pasteboard* pasteboard);
};

} // namespace velloria
