#include "cli/rows/JsonLine.h"

#include <QLocale>

#include <cmath>

namespace tunesift::cli {
namespace {

QByteArray quoted(const QString& text)
{
    QByteArray result = "\"";
    for (const char byte : text.toUtf8()) {
        constexpr char kFirstPrintable = 0x20;
        if (byte == '"' || byte == '\\')
            result += '\\';
        if (byte == '\n')
            result += "\\n";
        else if (byte == '\t')
            result += "\\t";
        else if (byte >= 0 && byte < kFirstPrintable)
            result += "\\u00" + QByteArray(1, byte).toHex();
        else
            result += byte;
    }
    return result + '"';
}

}  // namespace

void JsonLine::begin(const char* name)
{
    if (!members_.isEmpty())
        members_ += ',';
    members_ += '"' + QByteArray(name) + "\":";
}

void JsonLine::add(const char* name, const QString& value)
{
    begin(name);
    members_ += quoted(value);
}

void JsonLine::add(const char* name, double value)
{
    if (!std::isfinite(value)) {
        addNull(name);
        return;
    }
    begin(name);
    members_ += QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

void JsonLine::add(const char* name, qint64 value)
{
    begin(name);
    members_ += QByteArray::number(value);
}

void JsonLine::addTruth(const char* name, bool value)
{
    begin(name);
    members_ += value ? "true" : "false";
}

void JsonLine::addNull(const char* name)
{
    begin(name);
    members_ += "null";
}

void JsonLine::add(const char* name, const JsonLine& object)
{
    begin(name);
    members_ += object.object();
}

void JsonLine::add(const char* name, const std::vector<JsonLine>& objects)
{
    begin(name);
    QByteArray array;
    for (const JsonLine& object : objects)
        array += (array.isEmpty() ? "" : ",") + object.object();
    members_ += '[' + array + ']';
}

}  // namespace tunesift::cli
