#pragma once

#include "base/Lifetime.h"
#include "base/Records.h"
#include "ui/browser/BrowserPane.h"

#include <QCoro/QCoroTask>
#include <QTimer>

namespace Korvane {

class AppState;
class MessagePage;

/// Shows the entries of the browsed local folder, or why it cannot be read.
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
    MessagePage *m_errorPage;
    QList<FileNode> m_nodes;
    bool m_isLoading = false;
    /// Counts the listings: only the answer to the last one is shown.
    int m_listing = 0;
    /// Shows the loading page when a listing takes longer.
    QTimer m_loadingPageDelay;
    Lifetime m_life;
};

} // namespace Korvane
