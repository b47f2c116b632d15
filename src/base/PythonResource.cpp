#include "base/PythonResource.h"

#include <QFile>

namespace Korvane {

QString pythonResource(QLatin1StringView name)
{
    QFile file(QStringLiteral(":/korvane/%1").arg(name));
    if (!file.open(QIODevice::ReadOnly))
        qFatal("The program %s is not part of this build.", name.data());
    return QString::fromUtf8(file.readAll());
}

} // namespace Korvane
