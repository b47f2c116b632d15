#pragma once

#include "base/Async.h"
#include "base/Lifetime.h"
#include "base/Records.h"
#include "ui/browser/BrowserPane.h"

#include <QCoro/QCoroTask>
#include <QTimer>

#include <optional>

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

    [[nodiscard]] Abilities abilities() const override;
    void openSelected() override;
    void copySelected() override;
    void deleteSelected() override;
    void sendChangedFiles() override;
    void createFile() override;
    void createFolder() override;

protected:
    void showEvent(QShowEvent *event) override;
    [[nodiscard]] std::unique_ptr<QMimeData> dragData() const override;
    void nameEdited(const QString &oldName, const QString &newName) override;
    [[nodiscard]] QString nameProblem(const QString &name) const override;
    void paste(const QMimeData &dropped) override;
    [[nodiscard]] QString dropFolder(int row) const override;
    [[nodiscard]] bool isFolder(int row) const override;
    [[nodiscard]] QString enclosingFolder() const override;
    [[nodiscard]] bool accepts(const QMimeData &dropped) const override;
    [[nodiscard]] Qt::DropAction dropAction(const QMimeData &dropped,
                                            const QString &folder) const override;
    void drop(const QMimeData &dropped, const QString &folder) override;

private:
    QCoro::Task<void> load();
    void showFolder();
    void showNodes(const QString &folder);
    void open(const FileNode &node);
    void report(Async<void> operation);
    QCoro::Task<void> showToolTip(int row);
    [[nodiscard]] QList<FileNode> selectedNodes() const;
    /// The paths of the selected entries that have one.
    [[nodiscard]] QStringList selectedPaths() const;
    [[nodiscard]] std::optional<QStringList> boardPaths(const QMimeData &dropped) const;

    AppState &m_state;
    QWidget *m_emptyPage;
    QWidget *m_loadingPage;
    MessagePage *m_errorPage;
    QList<FileNode> m_nodes;
    bool m_isLoading = false;
    bool m_mustLoad = false; // a listing arrived while a name was edited
    /// Counts the listings: only the result of the last one is shown.
    int m_listing = 0;
    /// Shows the loading page when a listing takes longer than its interval.
    QTimer m_loadingPageDelay;
    Lifetime m_life;
};

} // namespace Korvane
