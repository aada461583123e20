#pragma once

#include "platform/FourCharCode.h"

#include <QStringList>
#include <vector>

namespace velloria
{

/// What a file type is called: for a person, in scripts, and at the end of file names.
struct AudioFileTypeNames {
    QString displayName;
    QString uti;
    QStringList acceptedNames;
    QString defaultExtension;
    QStringList extensionsForSave;
    /// Those and more that files of the type are found under.
    QStringList extensionsForOpen;
    FourCharCode hfsType = 0;

    /// All types, in the order in which names are looked up.
    static const std::vector<AudioFileTypeNames>& all();
    /// Null for an unknown identifier.
    static const AudioFileTypeNames* withUTI(const QString& uti);
};

} // namespace velloria
