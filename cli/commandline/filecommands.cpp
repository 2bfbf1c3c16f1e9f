#include "cli/commandline/commanddescriptions.h"

#include "cli/base/filenames.h"
#include "cli/base/translation.h"
#include "cli/commandline/namechecks.h"
#include "cli/commandline/sharedoptions.h"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace cli {
namespace {

void addConvertCommand(CLI::App &program, Options &options)
{
    CLI::App *const convert =
        addCommand(program, options, Command::Convert, "convert",
                   tr("Convert a picture; the extension chooses jpg, png, bmp, tiff, pdf or ofd"));
    addQualityOption(*convert, options);
    addCleanFlag(*convert, options);
    addTextOption(*convert, options);
    addUprightFlag(*convert, options);
    addCompactFlag(*convert, options);
    addForceFlag(*convert, options);
    addProgressFlag(*convert, options);
    convert
        ->add_option_function<std::string>(
            "source", [&options](const std::string &source) { options.sources = {source}; },
            tr("JPEG, PNG, BMP or TIFF file; - is standard input"))
        ->required();
    addFormatOption(*convert, options, kPictureFormats);
    addOutputOption(*convert, options, tr("New file; - is standard output"), checkPictureName,
                    "-o,--output,destination");
    convert->final_callback([&options] { concludeOutput(options, kPictureFormats.front()); });
}

void concludeCombine(Options &options)
{
    if (options.sources.empty() && options.fromFile.empty())
        throw CLI::ValidationError(tr("a source or --from-file is required"));
    const auto inputs = std::count(options.sources.begin(), options.sources.end(), "-");
    if (inputs + (options.fromFile == "-" ? 1 : 0) > 1)
        throw CLI::ValidationError(tr("standard input can be read only once"));
    concludeOutput(options, kDocumentFormats.front());
}

void addCombineCommand(CLI::App &program, Options &options)
{
    CLI::App *const combine = addCommand(program, options, Command::Combine, "combine",
                                         tr("Combine several pictures into one pdf, ofd or tiff"));
    addQualityOption(*combine, options);
    addForceFlag(*combine, options);
    addProgressFlag(*combine, options);
    combine->add_flag("--strict", options.strict,
                      tr("Write nothing when a page cannot be read (default: write the others)"));
    addDocumentOptions(*combine, options);
    combine
        ->add_option("--from-file", options.fromFile,
                     tr("Read more sources from LIST, one a line; - is standard input "
                        "(default: none)"))
        ->type_name("LIST");
    combine->add_option("source", options.sources,
                        tr("JPEG, PNG, BMP or TIFF files; - is standard input"));
    addFormatOption(*combine, options, kDocumentFormats);
    addOutputOption(*combine, options, tr("New file; - is standard output"), checkDocumentName);
    combine->final_callback([&options] { concludeCombine(options); });
}

/// Without another destination the document itself gets the text.
void concludeText(Options &options)
{
    const std::string &source = options.sources.front();
    const std::string extension = extensionOf(source);
    if (options.destination.empty())
        return;
    if (options.writesToOutput())
        options.format = extension;
    else if (extensionOf(options.destination) != extension)
        throw CLI::ValidationError(
            tr("the document stays .%1; give the new file that extension", extension));
}

void addTextCommand(CLI::App &program, Options &options)
{
    CLI::App *const text = addCommand(
        program, options, Command::Text, "text",
        tr("Add the recognised writing to a pdf or ofd that korvcam or the window made"));
    addTextOption(*text, options);
    addForceFlag(*text, options);
    text->add_flag("--strict", options.strict,
                   tr("Write nothing when a page gets no text (default: write the others)"));
    addJsonFlag(*text, options);
    addProgressFlag(*text, options);
    text->add_option_function<std::string>(
            "source", [&options](const std::string &source) { options.sources = {source}; },
            tr("The document, pdf or ofd"))
        ->required()
        ->check(CLI::Validator(checkTextDocumentName, ""));
    text->add_option("-o,--output", options.destination,
                     tr("New file; - is standard output (default: the document itself)"))
        ->type_name("FILE");
    text->final_callback([&options] { concludeText(options); });
}

} // namespace

void addFileCommands(CLI::App &program, Options &options)
{
    addConvertCommand(program, options);
    addCombineCommand(program, options);
    addTextCommand(program, options);
}

} // namespace cli
