#pragma once

#include <QMenu>

namespace Korvane {

class UnsavedCopies;

/// The submenu of View with what earlier sessions left unsaved; there is none when that is nothing.
class UnsavedFilesMenu final : public QMenu
{
    Q_OBJECT

public:
    /// Adds itself to \p view, which owns it. \p copies must outlive this.
    UnsavedFilesMenu(UnsavedCopies &copies, QMenu &view);

private:
    void fill();

    UnsavedCopies &m_copies;
};

} // namespace Korvane
