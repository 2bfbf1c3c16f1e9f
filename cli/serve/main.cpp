#include "cli/base/errors.h"
#include "cli/base/programsetup.h"
#include "cli/base/translation.h"
#include "cli/commandline/commandline.h"
#include "cli/serve/serve.h"

/// What `korvcam serve` becomes; the command line is korvcam's.
int main(int argc, char **argv)
{
    cli::prepareProgram();
    const cli::ParseResult parsed = cli::parseCommandLine(argc, argv);
    if (!parsed.options)
        return static_cast<int>(parsed.code);
    if (parsed.options->command == cli::Command::Serve)
        return static_cast<int>(cli::serve(*parsed.options));
    cli::printError(
        cli::tr("this program only serves; use `korvcam serve`, or `korvcam` for the rest"));
    return static_cast<int>(cli::ExitCode::Usage);
}
