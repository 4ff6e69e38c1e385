#include "cli/Command.h"

namespace tarlox::cli {

void printLine(const QString& text)
{
    std::fputs(qUtf8Printable(text), stdout);
    std::fputc('\n', stdout);
}

int fail(const QString& message)
{
    std::fprintf(stderr, "tarlox-cli: %s\n", qUtf8Printable(message));
    return Failure;
}

int failStart(const tarlox::Status& failure)
{
    fail(OneLine(failure));
    return failure.kind == FailureKind::DatabaseUnreachable ? Unreachable : Failure;
}

int badUsage(const QString& message)
{
    std::fprintf(stderr, "tarlox-cli: %s\n", qUtf8Printable(message));
    return BadUsage;
}

}  // namespace tarlox::cli
