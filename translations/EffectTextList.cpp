#include "effects/EffectTexts.h"

#include <QCoreApplication>
#include <QFile>

/// Writes the texts of effects, generators and factory presets to the named file, as a source in which the
/// translation tools find them.
int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QFile out(QString::fromLocal8Bit(argc > 1 ? argv[1] : ""));
    if (!out.open(QIODevice::WriteOnly))
        return 1;
    out.write("static const char* const texts[] = {\n");
    for (QString text : velloria::EffectTexts::all()) {
        text.replace(u'\\', QLatin1String("\\\\")).replace(u'"', QLatin1String("\\\""));
        out.write(QStringLiteral("    //% \"%1\"\n    QT_TRID_NOOP(\"%1\"),\n").arg(text).toUtf8());
    }
    out.write("};\n");
    return out.flush() ? 0 : 1;
}
