#include "ui/browser/FileListModel.h"

#include "base/VisibleText.h"
#include "theme/Icons.h"

#include <QFileInfo>

#include <utility>

namespace Korvane {

void FileListModel::setRows(QList<Row> rows)
{
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

int FileListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant FileListModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Row &row = m_rows[index.row()];
    const QString size = row.size && !row.isDirectory ? sizeText(*row.size) : QString();
    switch (role) {
    case Qt::DisplayRole:
        return VisibleText::line(row.name);
    case Qt::EditRole:
        return row.name;
    case Qt::DecorationRole:
        return Icons::icon(symbol(row),
                           row.isDirectory ? Theme::Role::Accent : Theme::Role::SecondaryLabel);
    case Qt::AccessibleTextRole:
        if (row.isDirectory)
            return tr("%1, folder").arg(VisibleText::line(row.name));
        return size.isEmpty() ? VisibleText::line(row.name)
                              : tr("%1, %2").arg(VisibleText::line(row.name), size);
    case SizeTextRole:
        return size;
    default:
        return {};
    }
}

bool FileListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (role != Qt::EditRole || !checkIndex(index, CheckIndexOption::IndexIsValid))
        return false;
    const QString oldName = m_rows[index.row()].name;
    if (value.toString() != oldName)
        emit nameEdited(oldName, value.toString());
    return false;
}

Qt::ItemFlags FileListModel::flags(const QModelIndex &index) const
{
    Qt::ItemFlags flags = QAbstractListModel::flags(index);
    if (index.isValid() && m_rows[index.row()].canChange)
        flags |= Qt::ItemIsEditable | Qt::ItemIsDragEnabled;
    return flags;
}

QString FileListModel::sizeText(qint64 bytes)
{
    return bytes < 1024
        ? tr("%1 B").arg(bytes)
        : tr("%1 KB").arg(QString::number(static_cast<double>(bytes) / 1024, 'f', 1));
}

QString FileListModel::symbol(const Row &row)
{
    if (row.isDirectory)
        return QStringLiteral("folder");
    const QString extension = QFileInfo(row.name).suffix().toLower();
    if (extension == u"py")
        return QStringLiteral("doc.plaintext");
    if (extension == u"json")
        return QStringLiteral("doc.badge.ellipsis");
    if (extension == u"txt")
        return QStringLiteral("doc.text");
    // Images of a board's firmware or file system; on this computer they are files like any other.
    if (row.size && (extension == u"bin" || extension == u"hex"))
        return QStringLiteral("doc.zipper");
    return QStringLiteral("doc");
}

} // namespace Korvane
