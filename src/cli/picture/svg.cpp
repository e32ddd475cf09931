#include "cli/picture/Scene.h"

namespace tunesift::cli {
namespace {

QByteArray number(double value)
{
    QByteArray digits = QByteArray::number(value, 'f', 2);
    while (digits.endsWith('0'))
        digits.chop(1);
    if (digits.endsWith('.'))
        digits.chop(1);
    return digits;
}

QByteArray fill(const QColor& colour)
{
    QByteArray text = " fill=\"" + colour.name().toLatin1() + '"';
    if (colour.alpha() < 255)
        text += " fill-opacity=\"" + number(colour.alphaF()) + '"';
    return text;
}

/// As text of an element; control characters are not allowed in one.
QByteArray escaped(QString text)
{
    for (QChar& character : text) {
        if (character.category() == QChar::Other_Control)
            character = QChar::ReplacementCharacter;
    }
    return text.toHtmlEscaped().toUtf8();
}

class Writer {
public:
    explicit Writer(QByteArray& document) : document_(document) {}

    void operator()(const Scene::Box& box) const
    {
        document_ += "<rect x=\"" + number(box.area.x()) + "\" y=\"" + number(box.area.y()) + "\" width=\"" +
                     number(box.area.width()) + "\" height=\"" + number(box.area.height()) + '"' +
                     fill(box.colour) + "/>\n";
    }
    void operator()(const Scene::Shape& shape) const
    {
        document_ += "<polygon points=\"";
        for (const QPointF& point : shape.outline)
            document_ += number(point.x()) + ',' + number(point.y()) + ' ';
        document_ += '"' + fill(shape.colour) + "/>\n";
    }
    void operator()(const Scene::Label& label) const
    {
        document_ += "<text x=\"" + number(label.baseline.x()) + "\" y=\"" + number(label.baseline.y()) +
                     "\" font-size=\"" + number(label.size) + '"' +
                     (label.isBold ? " font-weight=\"bold\"" : "") +
                     (label.isRightAligned ? " text-anchor=\"end\"" : "") + fill(label.colour) + '>' +
                     escaped(label.text) + "</text>\n";
    }

private:
    QByteArray& document_;
};

}  // namespace

QByteArray svg(const Scene& scene)
{
    const QByteArray width = QByteArray::number(scene.width);
    const QByteArray height = QByteArray::number(scene.height);
    QByteArray document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" +
                          width + "\" height=\"" + height + "\" viewBox=\"0 0 " + width + ' ' + height +
                          "\" font-family=\"DejaVu Sans, sans-serif\">\n";
    Writer{document}(Scene::Box{QRectF(0, 0, scene.width, scene.height), scene.background});
    for (const Scene::Thing& thing : scene.things)
        std::visit(Writer(document), thing);
    return document + "</svg>\n";
}

}  // namespace tunesift::cli
