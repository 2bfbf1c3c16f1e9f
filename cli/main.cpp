#include "cli/commands.h"
#include "util/standarddescriptors.h"

int main(int argc, char **argv)
{
    occupyStandardDescriptors();
    const cli::ParseResult parsed = cli::parseCommandLine(argc, argv);
    return static_cast<int>(parsed.options ? cli::run(*parsed.options) : parsed.code);
}
