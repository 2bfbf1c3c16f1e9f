#include "cli/commandline/commanddescriptions.h"

#include "cli/base/translation.h"
#include "cli/commandline/sharedoptions.h"

#include <CLI/CLI.hpp>

namespace cli {
namespace {

void addFeederOptions(CLI::App &serve, Options &options)
{
    CLI::Option *const handsFree =
        serve.add_flag("--hands-free", options.handsFree,
                       tr("Offer a feeder too: a page each time one is turned (default: off)"));
    serve
        .add_option_function<int>(
            "--still",
            [&options](const int &seconds) { options.stillMs = seconds * kMillisecondsPerSecond; },
            tr("End a scan from the feeder after S seconds of stillness (default: 20)"))
        ->type_name("S")
        ->check(hidden(CLI::Range(1, 600)))
        ->needs(handsFree);
}

} // namespace

void addServeCommand(CLI::App &program, Options &options)
{
    CLI::App *const serve = addCommand(program, options, Command::Serve, "serve",
                                       tr("Offer the camera to scan programs (eSCL)"));
    addDeviceOption(*serve, options);
    serve
        ->add_option("--listen", options.listen,
                     tr("Address and port to listen on (default: %1)", options.listen))
        ->type_name("ADDRESS:PORT");
    serve
        ->add_option("--name", options.scannerName,
                     tr("Name of the scanner (default: the camera's)"))
        ->type_name("NAME");
    CLI::Option *const certificate = serve->add_option(
        "--certificate", options.certificate, tr("TLS certificate, PEM (default: no TLS)"));
    CLI::Option *const key =
        serve->add_option("--key", options.key, tr("Key of the certificate, PEM"));
    certificate->type_name("FILE")->needs(key);
    key->type_name("FILE")->needs(certificate);
    addQualityOption(*serve, options, 90);
    // CLI11 takes a description alone only where it stays
    const std::string wholePicture =
        tr("Scan the whole picture (default: find the sheet and cut it out)");
    serve->add_flag("--no-crop", wholePicture);
    serve->add_flag_callback(
        "--no-announce", [&options] { options.announce = false; },
        tr("Do not announce the scanner (default: announce it by DNS-SD)"));
    addFeederOptions(*serve, options);
    addTimeoutOption(*serve, options);
    serve->final_callback(
        [serve, &options] { options.crop = serve->count("--no-crop") == 0 ? 0 : -1; });
}

} // namespace cli
