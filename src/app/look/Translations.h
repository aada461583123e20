#pragma once

class QCoreApplication;

namespace velloria
{

/// Installs the texts of the program: English, and over it the language of the locale where there is a
/// catalogue. They stay for the life of the application.
void installTranslations(QCoreApplication& application);

} // namespace velloria
