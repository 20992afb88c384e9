// ozl: the library's operations on picture files, and its demo.
//
//   ozl list | ozl help [OPERATION] | ozl --version
//   ozl demo [PICTURE] [--out DIR]
//   ozl OPERATION [options] INPUT... OUTPUT
//
// Every failure prints one line, "ozl: ...", on standard error and exits
// with status 1; no output file is left behind.
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "demo.hpp"
#include "error.hpp"
#include "library.hpp"
#include "registry.hpp"
#include "run.hpp"

namespace ozltool {
namespace {

const char* const kGeneralHelp =
    "usage: ozl OPERATION [options] INPUT... OUTPUT\n"
    "       ozl list                      the operations, one line each\n"
    "       ozl help OPERATION            an operation's arguments and options\n"
    "       ozl demo [PICTURE] [--out DIR]\n"
    "                                     one operation of each family on the\n"
    "                                     embedded pictures or on PICTURE\n"
    "       ozl --version                 the library's version record\n"
    "\n"
    "Pictures: PNG (1-, 8- and 16-bit grey, grey+alpha, RGB, RGBA), JPEG, and\n"
    "PBM, PGM, PPM, PAM, PFM. Inputs are recognised by their content, the\n"
    "output format by its extension. Operations run at the first input's depth\n"
    "(8u for 8-bit files, 16u for 16-bit ones) unless --depth says otherwise.\n";

const char* const kValueRules =
    "Values: unsigned depths hold fractions of white (an 8-bit 255 is 65535 at\n"
    "16u); signed and float depths take the file's numbers as they are. Going\n"
    "out, values beyond the file's range are clamped (--stretch maps the\n"
    "result's range onto it instead).\n";

void printList() {
    std::string family;
    for (const Operation* op : operations()) {
        if (family != op->family) {
            family = op->family;
            std::printf("%s%s\n", family == operations().front()->family ? "" : "\n",
                        family.c_str());
        }
        std::printf("  %-14s %s\n", op->name, op->summary);
    }
    std::printf("\ndemo             %s\n",
                "one operation of each family, a contact sheet and a speed table");
    std::printf("\n'ozl help OPERATION' shows an operation's arguments.\n");
}

void printOptions(const std::vector<OptionSpec>& specs) {
    std::printf("\noptions:\n");
    for (const OptionSpec& s : specs) {
        const std::string head = std::string("--") + s.name + (s.value ? std::string(" ") + s.value : "");
        if (head.size() <= 18) std::printf("  %-18s %s\n", head.c_str(), s.help);
        else std::printf("  %s\n  %-18s %s\n", head.c_str(), "", s.help);
    }
}

void printHelp(const std::string& name) {
    if (name == "demo") {
        std::printf(
            "ozl demo - one representative operation of each family\n\n"
            "usage: ozl demo [PICTURE] [--out DIR]\n\n"
            "Runs on the embedded pictures (the zone plate and a generated colour\n"
            "scene), or on PICTURE (its colour and its grey version). Writes each\n"
            "result and a labelled contact sheet, contact.png, into DIR (default\n"
            "ozl-demo), and prints each operation's speed in megapixels per second\n"
            "(the best of a few runs).\n");
        return;
    }
    const Operation* op = findOperation(name);
    if (!op) throw Error("unknown operation '" + name + "' (see 'ozl list')");
    std::printf("ozl %s - %s\n\n", op->name, op->summary);
    const std::vector<std::string> usage = usageLines(*op);
    for (std::size_t i = 0; i < usage.size(); ++i)
        std::printf("%s%s\n", i == 0 ? "usage: " : "       ", usage[i].c_str());
    if (op->details && *op->details) std::printf("\n%s\n", op->details);
    const std::vector<OptionSpec> specs = optionsOf(*op);
    if (!specs.empty()) printOptions(specs);
    if (op->common & kDepthOption) std::printf("\n%s", kValueRules);
}

void printVersion() {
    const OzlLibVersion* v = ozlGetLibVersion();
    std::printf("ozl %s\n", v->version);
    std::printf("  library          %s\n", v->name);
    std::printf("  major            %d\n", static_cast<int>(v->major));
    std::printf("  minor            %d\n", static_cast<int>(v->minor));
    std::printf("  build            %d\n", static_cast<int>(v->build));
    std::printf("  version          %s\n", v->version);
    std::printf("  internal version %s\n", v->internalVersion);
    std::printf("  build date       %s\n", v->buildDate);
    std::printf("  call convention  %s\n", v->callConv);
}

void runDemo(const std::vector<std::string>& words) {
    const Arguments args(words, {{"out", "DIR", "folder for the results (default ozl-demo)"}});
    if (args.positional().size() > 1) throw Error("demo takes at most one picture");
    Demo demo(args.positional().empty() ? "" : args.positional()[0],
              args.text("out", "ozl-demo"));
    demo.runAll(stdout);
}

int dispatch(const std::vector<std::string>& words) {
    const std::string& command = words[0];
    const std::vector<std::string> rest(words.begin() + 1, words.end());
    if (command == "list") {
        if (!rest.empty()) throw Error("list takes no arguments");
        printList();
    } else if (command == "help" || command == "--help" || command == "-h") {
        if (rest.size() > 1) throw Error("help takes one operation name");
        if (rest.empty()) std::printf("%s", kGeneralHelp);
        else printHelp(rest[0]);
    } else if (command == "--version" || command == "version") {
        printVersion();
    } else if (command == "demo") {
        runDemo(rest);
    } else {
        const Operation* op = findOperation(command);
        if (!op) throw Error("unknown operation '" + command + "' (see 'ozl list')");
        Run run(*op, rest);
        op->run(run);
    }
    return 0;
}

}  // namespace
}  // namespace ozltool

int main(int argc, char** argv) {
    using namespace ozltool;
    const std::vector<std::string> words(argv + 1, argv + argc);
    if (words.empty()) {
        std::fputs(kGeneralHelp, stderr);
        return 1;
    }
    captureLibraryReports();
    const std::string& command = words[0];
    try {
        const int status = dispatch(words);
        if (std::fflush(stdout) != 0) throw Error("cannot write to standard output");
        return status;
    } catch (const Error& e) {
        const bool named = findOperation(command) != nullptr || command == "demo";
        std::fprintf(stderr, "ozl: %s%s\n", named ? (command + ": ").c_str() : "", e.what());
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "ozl: %s: out of memory\n", command.c_str());
    }
    return 1;
}
