#include "registry.hpp"

#include <algorithm>

namespace ozltool {
namespace {

// Function-local tables: the families register from static initialisers of
// other files, in an order the language leaves open.
std::vector<Operation>& operationTable() {
    static std::vector<Operation> table;
    return table;
}

std::vector<DemoStep>& stepTable() {
    static std::vector<DemoStep> table;
    return table;
}

const OptionSpec kCommon[] = {
    {"depth", "D", "work at depth D: 1u 8u 8s 16u 16s 32s 32f (default: the first input's)"},
    {"roi", "x,y,w,h", "work on this rectangle only (the rest of the output keeps the input)"},
    {"coi", "N", "work on channel N only (1 = red or grey)"},
    {"mask", "FILE", "work only where FILE is not black"},
    {"onto", "FILE", "start the output from FILE instead of the first input"},
    {"bits", "N", "write N-bit samples: 1, 8, 16 or 32 (float; PFM only)"},
    {"stretch", nullptr, "write the result's smallest value as black and its largest as white"},
    {"quality", "N", "JPEG quality, 1..100 (default 92)"},
};

std::size_t familyRank(const char* family) {
    const auto& order = familyOrder();
    const auto it = std::find(order.begin(), order.end(), family);
    return static_cast<std::size_t>(it - order.begin());
}

}  // namespace

const std::vector<std::string>& familyOrder() {
    static const std::vector<std::string> order = {
        "files",    "arithmetic", "logic",      "comparison", "data",     "conversion",
        "filter",   "geometry",   "colour",     "statistics", "transform", "test images",
    };
    return order;
}

bool registerOperations(std::initializer_list<Operation> ops) {
    for (const Operation& op : ops) operationTable().push_back(op);
    return true;
}

std::vector<const Operation*> operations() {
    std::vector<const Operation*> list;
    for (const Operation& op : operationTable()) list.push_back(&op);
    std::stable_sort(list.begin(), list.end(), [](const Operation* a, const Operation* b) {
        return familyRank(a->family) < familyRank(b->family);
    });
    return list;
}

const Operation* findOperation(const std::string& name) {
    for (const Operation& op : operationTable())
        if (name == op.name) return &op;
    return nullptr;
}

std::vector<OptionSpec> optionsOf(const Operation& op) {
    std::vector<OptionSpec> specs = op.options;
    const unsigned groups[] = {kDepthOption,  kRegionOptions, kRegionOptions, kMaskOption,
                               kOntoOption,   kOutputOptions, kOutputOptions, kOutputOptions};
    for (std::size_t i = 0; i < sizeof groups / sizeof groups[0]; ++i)
        if (op.common & groups[i]) specs.push_back(kCommon[i]);
    return specs;
}

bool registerDemoStep(const DemoStep& step) {
    stepTable().push_back(step);
    return true;
}

std::vector<DemoStep> demoSteps() {
    std::vector<DemoStep> steps = stepTable();
    std::stable_sort(steps.begin(), steps.end(),
                     [](const DemoStep& a, const DemoStep& b) { return a.order < b.order; });
    return steps;
}

}  // namespace ozltool
