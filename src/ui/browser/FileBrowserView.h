#pragma once

#include "base/Lifetime.h"
#include "base/Records.h"
#include "ui/browser/BrowserPane.h"

#include <QCoro/QCoroTask>
#include <QTimer>

namespace Korvane {

class AppState;

/// The folder of this computer that is being browsed, one level at a time.
class FileBrowserView final : public BrowserPane
{
    Q_OBJECT

public:
    /// \p state must outlive this.
    explicit FileBrowserView(AppState &state, QWidget *parent = nullptr);

    /// A listing is under way.
    [[nodiscard]] bool isLoading() const { return m_isLoading; }

protected:
    void showEvent(QShowEvent *event) override;

private:
    QCoro::Task<void> load();
    void showFolder();
    void showNodes(const QString &folder);
    void open(const FileNode &node);
    void openMenu(const FileNode &node);

    AppState &m_state;
    QWidget *m_emptyPage;
    QWidget *m_loadingPage;
    QList<FileNode> m_nodes;
    bool m_isLoading = false;
    /// Counts the listings: only the answer to the last one is shown.
    int m_listing = 0;
    /// A listing that takes longer is worth a word.
    QTimer m_slow;
    Lifetime m_life;
};

} // namespace Korvane
