#pragma once

#include <QMenu>

namespace Korvane {

class RecoveryFiles;

/// The submenu of View with what earlier sessions left unsaved; there is none when that is nothing.
class RecoveryFilesMenu final : public QMenu
{
    Q_OBJECT

public:
    /// Adds itself to \p view, which owns it. \p copies must outlive this.
    RecoveryFilesMenu(RecoveryFiles &copies, QMenu &view);

private:
    void fill();

    RecoveryFiles &m_copies;
};

} // namespace Korvane
