#include "cli/base/programsetup.h"
#include "cli/commandline/commandline.h"
#include "cli/commands.h"

int main(int argc, char **argv)
{
    cli::prepareProgram();
    const cli::ParseResult parsed = cli::parseCommandLine(argc, argv);
    return static_cast<int>(parsed.options ? cli::run(*parsed.options) : parsed.code);
}
