// The table of operations the command offers, and of the demo's steps. Each
// family registers its entries from its own file (ops_<family>.cpp):
//
//   const bool registered = registerOperations({
//       {"add", "arithmetic", "sum of two images, or of an image and a constant",
//        "A B OUTPUT | --value N A OUTPUT", "help text ...", {options}, kImageOp, 1, 2, runAdd},
//   }) && registerDemoStep({"arithmetic", 20, demoArithmetic});
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "cli.hpp"

namespace ozltool {

class Run;
class Demo;

// Groups of options shared by many operations (Operation::common).
enum CommonOptions : unsigned {
    kDepthOption = 1u << 0,   // --depth D
    kRegionOptions = 1u << 1, // --roi x,y,w,h  --coi N
    kMaskOption = 1u << 2,    // --mask FILE
    kOntoOption = 1u << 3,    // --onto FILE
    kOutputOptions = 1u << 4, // --bits N  --stretch  --quality N
    // An operation writing an image shaped like its first input.
    kImageOp = kDepthOption | kRegionOptions | kMaskOption | kOntoOption | kOutputOptions,
};

struct Operation {
    const char* name;
    const char* family;
    const char* summary;  // one line for `ozl list`
    const char* usage;    // the words after the name; alternatives separated by " | "
    const char* details;  // paragraphs for `ozl help NAME`
    std::vector<OptionSpec> options;
    unsigned common;
    int minInputs, maxInputs;  // input files; the last word is the output when writesImage
    std::function<void(Run&)> run;
    bool writesImage = true;
};

bool registerOperations(std::initializer_list<Operation> ops);
// Every operation, by family (in the order of familyOrder()) then by registration.
std::vector<const Operation*> operations();
const Operation* findOperation(const std::string& name);
const std::vector<std::string>& familyOrder();

// The options an operation accepts: its own and its common groups.
std::vector<OptionSpec> optionsOf(const Operation& op);

// One step of the demo: shows one family at work. Steps run in `order`.
struct DemoStep {
    const char* family;
    int order;
    void (*run)(Demo&);
};
bool registerDemoStep(const DemoStep& step);
std::vector<DemoStep> demoSteps();

}  // namespace ozltool
