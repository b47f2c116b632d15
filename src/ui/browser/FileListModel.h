#pragma once

#include <QAbstractListModel>

#include <optional>

namespace Korvane {

/// The rows of a file browser, in the order in which they are given.
class FileListModel final : public QAbstractListModel
{
    Q_OBJECT

public:
    struct Row
    {
        QString name;
        bool isDirectory = false;
        /// In bytes; not set in a browser that shows no sizes.
        std::optional<qint64> size;
        /// Can be renamed, copied, moved and deleted.
        bool canChange = true;
    };
    /// The text at the end of a row; empty without a size.
    static constexpr int SizeTextRole = Qt::UserRole;

    using QAbstractListModel::QAbstractListModel;

    void setRows(QList<Row> rows);
    [[nodiscard]] const QList<Row> &rows() const { return m_rows; }

    [[nodiscard]] int rowCount(const QModelIndex &parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex &index, int role) const override;
    /// Changes nothing in the model: the entry gets its new name with the next listing.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    [[nodiscard]] Qt::ItemFlags flags(const QModelIndex &index) const override;

    /// "1023 B", "1.5 KB", "3072.0 KB".
    [[nodiscard]] static QString sizeText(qint64 bytes);
    /// The symbol of a file or folder of that name.
    [[nodiscard]] static QString symbol(const Row &row);

signals:
    /// The user entered another name. Nothing is renamed so far.
    void nameEdited(const QString &oldName, const QString &newName);

private:
    QList<Row> m_rows;
};

} // namespace Korvane
