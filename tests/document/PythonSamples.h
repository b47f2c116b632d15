#pragma once

#include <QDirIterator>
#include <QFile>
#include <QRandomGenerator>
#include <QStringList>

namespace Korvane {

/// The Python files that came with this computer's Python, as text with "\n" line ends.
inline QStringList installedPythonFiles(int most, qint64 mostBytes)
{
    QStringList found;
    QStringList paths;
    QDirIterator folders(QStringLiteral("/usr/lib"), {QStringLiteral("python3.*")}, QDir::Dirs);
    while (folders.hasNext()) {
        QDirIterator files(folders.next(), {QStringLiteral("*.py")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext())
            paths << files.next();
    }
    paths.sort();
    for (const QString &path : std::as_const(paths)) {
        QFile file(path);
        if (found.size() < most && file.size() > 0 && file.size() <= mostBytes
            && file.open(QIODevice::ReadOnly))
            found << QString::fromUtf8(file.readAll()).remove(u'\r');
    }
    return found;
}

/// Text of pieces that meet in unlikely ways, most of them at the borders of some pattern.
inline QString nastyText(QRandomGenerator &random, int pieces)
{
    static const QStringList list = [] {
        QStringList all =
            QStringLiteral("\" ' \"\"\" ''' \\ \\\\ # @ def class def\\ 0x 0xF 0x1Fdef 1 42 1.5 "
                           "1.e5 1e 1e5 1e+ 1.5E-3 . + - _ a x2 1_000 0b1 12abc if in int is "
                           "print property as async False Falsey ( ) : é 中 ß Ⅷ ² ٣ ９ ⓐ "
                           "𝟘 𝒜 🐍 ｡ ‿ ＿ ʰ ͅ")
                .split(u' ');
        for (const char32_t c : std::initializer_list<char32_t>{
                 0x0A,   0x0A,   0x20,   0x20,    0x09,    0x0B,    0x0D,    0x00,   0x85,   0xA0,
                 0xAD,   0x301,  0x300,  0x903,   0x20DD,  0x200B,  0x200C,  0x200D, 0x2028, 0x2029,
                 0x3000, 0xFEFF, 0xFFFC, 0x1D165, 0xE0001, 0x11F50, 0x31350, 0x1E4F0})
            all << QString::fromUcs4(&c, 1);
        all << QStringLiteral("\r\n") << QString(QChar(0xD801)) << QString(QChar(0xDC01))
            << QStringLiteral("\\\n") << QStringLiteral("\\\r\n");
        return all;
    }();
    QString text;
    for (int i = 0; i < pieces; ++i)
        text += list[random.bounded(list.size())];
    return text;
}

/// A change at a place that falls between two characters, or on half of one.
struct RandomEdit
{
    RandomEdit(const QString &text, QRandomGenerator &random)
        : position(random.bounded(text.size() + 1))
        , removed(random.bounded(4) == 0
                      ? std::min<qsizetype>(random.bounded(40), text.size() - position)
                      : 0)
        , added(removed > 0 && random.bounded(2) == 0 ? QString()
                                                      : nastyText(random, 1 + random.bounded(3)))
    {
    }
    qsizetype position;
    qsizetype removed;
    QString added;
};

} // namespace Korvane
