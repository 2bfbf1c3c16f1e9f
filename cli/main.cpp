#include "cli/base/programsetup.h"
#include "cli/commandline/commandline.h"
#include "cli/commands.h"
#include "cli/serverprogram.h"

int main(int argc, char **argv)
{
    cli::prepareProgram();
    const cli::ParseResult parsed = cli::parseCommandLine(argc, argv);
    if (!parsed.options)
        return static_cast<int>(parsed.code);
    if (parsed.options->command == cli::Command::Serve)
        return static_cast<int>(cli::becomeServer(argv));
    return static_cast<int>(cli::run(*parsed.options));
}
