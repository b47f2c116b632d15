#include "document/EditorFile.h"

namespace Korvane {

EditorFile EditorFile::untitled(qsizetype number)
{
    EditorFile file;
    file.name =
        number == 1 ? QStringLiteral("untitled.py") : QStringLiteral("untitled%1.py").arg(number);
    return file;
}

} // namespace Korvane
