#include "cli/output.h"

#include <cstdio>

namespace tunesift::cli {
namespace {

void write(std::FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fflush(stream);
}

}  // namespace

void print(const QString& text) { write(stdout, text); }

void complain(const QString& text) { write(stderr, text); }

bool outputIsGood() { return std::ferror(stdout) == 0; }

}  // namespace tunesift::cli
