#pragma once

#include <QStyledItemDelegate>

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
};

} // namespace Korvane
