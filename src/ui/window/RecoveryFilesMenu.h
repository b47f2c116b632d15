#pragma once

#include "base/Lifetime.h"
#include "document/RecoveryFiles.h"

#include <QCoro/QCoroTask>
#include <QMenu>

namespace Korvane {

class UserPrompts;

/// The submenu of View with the recovery files that earlier runs of the program left, to open them
/// or, after a question, to discard one or all. Hidden when there are none.
class RecoveryFilesMenu final : public QMenu
{
    Q_OBJECT

public:
    /// Adds itself to \p view, which owns it. \p recovery and \p prompts must outlive this.
    RecoveryFilesMenu(RecoveryFiles &recovery, UserPrompts &prompts, QMenu &view);

private:
    void fill();
    QCoro::Task<void> discard(QList<RecoveryFiles::Leftover> leftovers);

    RecoveryFiles &m_recovery;
    UserPrompts &m_prompts;
    QMenu *m_discardMenu = nullptr; // made with the first leftover
    Lifetime m_life;
};

} // namespace Korvane
