#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QPointF>
#include <QRectF>
#include <QString>

#include <variant>
#include <vector>

namespace tunesift::cli {

/// A drawing of a few simple things, from back to front, in pixels from the left upper corner.
struct Scene {
    struct Box {
        QRectF area;
        QColor colour;
    };
    struct Shape {
        std::vector<QPointF> outline;
        QColor colour;
    };
    struct Label {
        QPointF baseline;  ///< Of the left end, or of the right one.
        QString text;
        double size = 0.0;  ///< Pixels.
        QColor colour;
        bool isBold = false;
        bool isRightAligned = false;
    };
    using Thing = std::variant<Box, Shape, Label>;

    int width = 0;
    int height = 0;
    QColor background;
    std::vector<Thing> things;
};

/// The scene in pixels. Needs a QGuiApplication.
[[nodiscard]] QImage paint(const Scene& scene);

/// The scene as an SVG document.
[[nodiscard]] QByteArray svg(const Scene& scene);

}  // namespace tunesift::cli
