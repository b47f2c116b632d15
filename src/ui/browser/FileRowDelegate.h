#pragma once

#include <QStyledItemDelegate>

#include <functional>

class QLineEdit;

namespace Korvane {

/// Draws a row of a FileListModel: symbol, name, and the size at the end. The name is edited in its
/// place.
class FileRowDelegate final : public QStyledItemDelegate
{
    Q_OBJECT

public:
    /// The object name of the field that edits a name.
    static constexpr QLatin1StringView editorName{"renameField"};

    using QStyledItemDelegate::QStyledItemDelegate;

    /// \p problem returns why an entry cannot have a name, or an empty text when it can. With such
    /// a name Return shows the reason, and the field stays open.
    void setNameProblem(std::function<QString(const QString &name)> problem);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    [[nodiscard]] QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                                        const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;
    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem &option,
                                 const QModelIndex &index) const override;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    [[nodiscard]] bool refuses(QLineEdit &field) const;

    std::function<QString(const QString &name)> m_nameProblem;
};

} // namespace Korvane
