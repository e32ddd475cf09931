#include "cli/picture/Scene.h"

#include <QFont>
#include <QFontMetricsF>
#include <QPainter>
#include <QPolygonF>

namespace tunesift::cli {
namespace {

class Brush {
public:
    explicit Brush(QPainter& painter) : painter_(painter) {}

    void operator()(const Scene::Box& box) const { painter_.fillRect(box.area, box.colour); }
    void operator()(const Scene::Shape& shape) const
    {
        QPolygonF polygon;
        for (const QPointF& point : shape.outline)
            polygon << point;
        painter_.setPen(Qt::NoPen);
        painter_.setBrush(shape.colour);
        painter_.drawPolygon(polygon);
    }
    void operator()(const Scene::Label& label) const
    {
        QFont font(QStringLiteral("DejaVu Sans"));
        font.setStyleHint(QFont::SansSerif);
        font.setPixelSize(qMax(1, qRound(label.size)));
        font.setBold(label.isBold);
        const double width = QFontMetricsF(font).horizontalAdvance(label.text);
        painter_.setFont(font);
        painter_.setPen(label.colour);
        painter_.drawText(label.baseline - QPointF(label.isRightAligned ? width : 0.0, 0.0), label.text);
    }

private:
    QPainter& painter_;
};

}  // namespace

QImage paint(const Scene& scene)
{
    QImage image(scene.width, scene.height, QImage::Format_RGB32);
    image.fill(scene.background);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const Scene::Thing& thing : scene.things)
        std::visit(Brush(painter), thing);
    return image;
}

}  // namespace tunesift::cli
