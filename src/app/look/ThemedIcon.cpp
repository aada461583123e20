#include "app/look/ThemedIcon.h"

#include <QFile>
#include <QGuiApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPalette>
#include <QPixmapCache>
#include <QSvgRenderer>

namespace velloria
{

namespace
{

class SvgEngine : public QIconEngine
{
public:
    explicit SvgEngine(QString name)
        : mName(std::move(name))
    {
    }

    QIconEngine* clone() const override { return new SvgEngine(mName); }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        const double ratio = painter->device()->devicePixelRatioF();
        QPixmap image = pixmap(rect.size() * ratio, mode, state);
        image.setDevicePixelRatio(ratio);
        painter->drawPixmap(rect, image);
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State) override
    {
        const QColor color = colorOf(mode);
        const QString key = QStringLiteral("velloria-icon/%1/%2x%3/%4")
                                .arg(mName)
                                .arg(size.width())
                                .arg(size.height())
                                .arg(color.rgba(), 0, 16);
        QPixmap image;
        if (QPixmapCache::find(key, &image))
            return image;
        image = draw(size, color);
        QPixmapCache::insert(key, image);
        return image;
    }

private:
    static QColor colorOf(QIcon::Mode mode)
    {
        const QPalette palette = QGuiApplication::palette();
        if (mode == QIcon::Disabled)
            return palette.color(QPalette::Disabled, QPalette::ButtonText);
        if (mode == QIcon::Selected)
            return palette.color(QPalette::Active, QPalette::HighlightedText);
        return palette.color(QPalette::Active, QPalette::ButtonText);
    }

    QPixmap draw(const QSize& size, const QColor& color) const
    {
        QPixmap image(size);
        image.fill(Qt::transparent);
        QFile file(QStringLiteral(":/icons/%1.svg").arg(mName));
        if (!file.open(QIODevice::ReadOnly))
            return image;
        QSvgRenderer renderer(file.readAll().replace("currentColor", color.name().toLatin1()));
        QPainter painter(&image);
        painter.setOpacity(color.alphaF());
        renderer.render(&painter);
        return image;
    }

    QString mName;
};

} // namespace

QIcon ThemedIcon::named(const QString& name)
{
    return QIcon(new SvgEngine(name));
}

} // namespace velloria
