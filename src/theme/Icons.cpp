#include "theme/Icons.h"

#include <QIconEngine>
#include <QPaintDevice>
#include <QPainter>
#include <QPixmapCache>
#include <QSvgRenderer>

// Outside of all namespaces, as the macro requires. Without it the linker would leave out the
// resource of this static library.
static void initializeResource()
{
    Q_INIT_RESOURCE(icons);
}

namespace Korvane::Icons {

namespace {

class SymbolEngine final : public QIconEngine
{
public:
    SymbolEngine(QString symbol, Theme::Role role)
        : m_symbol(std::move(symbol))
        , m_role(role)
    {
    }

    void paint(QPainter *painter, const QRect &rect, QIcon::Mode mode, QIcon::State) override
    {
        const int size = std::min(rect.width(), rect.height());
        const QPixmap drawn =
            Icons::pixmap(m_symbol, size, painter->device()->devicePixelRatio(), color(mode));
        painter->drawPixmap(rect.x() + (rect.width() - size) / 2,
                            rect.y() + (rect.height() - size) / 2, drawn);
    }

    // The size is in device pixels.
    QPixmap scaledPixmap(const QSize &size, QIcon::Mode mode, QIcon::State, qreal scale) override
    {
        QPixmap drawn =
            Icons::pixmap(m_symbol, std::min(size.width(), size.height()), 1, color(mode));
        drawn.setDevicePixelRatio(scale);
        return drawn;
    }
    QPixmap pixmap(const QSize &size, QIcon::Mode mode, QIcon::State state) override
    {
        return scaledPixmap(size, mode, state, 1);
    }

    QString iconName() override { return m_symbol; }
    QString key() const override { return QStringLiteral("KorvaneSymbol"); }
    QIconEngine *clone() const override { return new SymbolEngine(m_symbol, m_role); }

private:
    [[nodiscard]] QColor color(QIcon::Mode mode) const
    {
        return Theme::current().color(mode == QIcon::Selected       ? Theme::Role::SelectedText
                                          : mode == QIcon::Disabled ? Theme::Role::TertiaryLabel
                                                                    : m_role);
    }

    QString m_symbol;
    Theme::Role m_role;
};

} // namespace

QIcon icon(const QString &symbol, Theme::Role role)
{
    return QIcon(new SymbolEngine(symbol, role));
}

QPixmap pixmap(const QString &symbol, int size, qreal scale, const QColor &color)
{
    const int pixels = qCeil(size * scale);
    const QString key =
        QStringLiteral("korvane/%1/%2/%3").arg(symbol).arg(pixels).arg(color.rgba());
    QPixmap result;
    if (!QPixmapCache::find(key, &result)) {
        QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        initializeResource();
        QSvgRenderer renderer(QStringLiteral(":/icons/%1.svg").arg(symbol));
        Q_ASSERT(renderer.isValid());
        QPainter painter(&image);
        renderer.render(&painter);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(image.rect(), color);
        painter.end();
        result = QPixmap::fromImage(image);
        QPixmapCache::insert(key, result);
    }
    result.setDevicePixelRatio(scale);
    return result;
}

} // namespace Korvane::Icons
