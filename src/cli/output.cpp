#include "cli/output.h"

#include <cstdio>

namespace tunesift::cli {
namespace {

void write(std::FILE* stream, const QByteArray& bytes)
{
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fflush(stream);
}

}  // namespace

void print(const QString& text) { write(stdout, text.toUtf8()); }

void printBytes(const QByteArray& bytes) { write(stdout, bytes); }

void complain(const QString& text) { write(stderr, text.toUtf8()); }

bool outputIsGood() { return std::ferror(stdout) == 0; }

}  // namespace tunesift::cli
