#include "cli.hpp"

#include <cerrno>
#include <cmath>
#include <cstdlib>

#include "error.hpp"

namespace ozltool {

Arguments::Arguments(const std::vector<std::string>& words, const std::vector<OptionSpec>& specs) {
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& w = words[i];
        if (w.size() < 3 || w.compare(0, 2, "--") != 0) {
            if (w.size() > 1 && w[0] == '-' && !std::isdigit(static_cast<unsigned char>(w[1])))
                throw Error("unknown option '" + w + "' (options begin with two dashes)");
            positional_.push_back(w);
            continue;
        }
        const std::size_t eq = w.find('=');
        const std::string name = w.substr(2, eq == std::string::npos ? std::string::npos : eq - 2);
        const OptionSpec* spec = nullptr;
        for (const OptionSpec& s : specs)
            if (name == s.name) spec = &s;
        if (!spec) throw Error("unknown option '--" + name + "'");
        std::string value;
        if (spec->value) {
            if (eq != std::string::npos) value = w.substr(eq + 1);
            else if (i + 1 < words.size()) value = words[++i];
            else throw Error("option '--" + name + "' needs a value (" + spec->value + ")");
        } else if (eq != std::string::npos) {
            throw Error("option '--" + name + "' takes no value");
        }
        auto& slot = options_[name];
        if (!slot.empty() && !spec->repeatable)
            throw Error("option '--" + name + "' given more than once");
        slot.push_back(value);
    }
}

std::string Arguments::text(const std::string& name, const std::string& fallback) const {
    const auto it = options_.find(name);
    return it == options_.end() ? fallback : it->second.back();
}

const std::vector<std::string>& Arguments::all(const std::string& name) const {
    static const std::vector<std::string> kNone;
    const auto it = options_.find(name);
    return it == options_.end() ? kNone : it->second;
}

long Arguments::integer(const std::string& name, long fallback, long lo, long hi) const {
    return has(name) ? parseInteger(text(name), "--" + name, lo, hi) : fallback;
}

double Arguments::real(const std::string& name, double fallback) const {
    return has(name) ? parseReal(text(name), "--" + name) : fallback;
}

long parseInteger(const std::string& text, const std::string& what, long lo, long hi) {
    errno = 0;
    char* end = nullptr;
    // Hexadecimal (0x..) for the bit masks of the logic operations; a leading
    // zero does not make a number octal.
    const std::size_t digits = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    const bool hex = text.size() > digits + 2 && text[digits] == '0' &&
                     (text[digits + 1] == 'x' || text[digits + 1] == 'X');
    const long v = std::strtol(text.c_str(), &end, hex ? 16 : 10);
    if (text.empty() || *end != '\0' || errno == ERANGE)
        throw Error(what + ": '" + text + "' is not a whole number");
    if (v < lo || v > hi)
        throw Error(what + ": " + text + " is outside " + std::to_string(lo) + ".." +
                    std::to_string(hi));
    return v;
}

double parseReal(const std::string& text, const std::string& what) {
    errno = 0;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || errno == ERANGE || !std::isfinite(v))
        throw Error(what + ": '" + text + "' is not a number");
    return v;
}

std::vector<std::string> splitList(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (;;) {
        const std::size_t at = text.find(separator, start);
        parts.push_back(text.substr(start, at == std::string::npos ? std::string::npos : at - start));
        if (at == std::string::npos) break;
        start = at + 1;
    }
    return parts;
}

std::vector<long> parseIntegers(const std::string& text, const std::string& what, long lo, long hi) {
    std::vector<long> values;
    for (const std::string& part : splitList(text, ',')) values.push_back(parseInteger(part, what, lo, hi));
    return values;
}

std::vector<double> parseReals(const std::string& text, const std::string& what) {
    std::vector<double> values;
    for (const std::string& part : splitList(text, ',')) values.push_back(parseReal(part, what));
    return values;
}

void parseSize(const std::string& text, const std::string& what, int* width, int* height) {
    const std::size_t x = text.find('x');
    if (x == std::string::npos) throw Error(what + ": '" + text + "' is not a size (WxH)");
    *width = static_cast<int>(parseInteger(text.substr(0, x), what, 1, 1 << 20));
    *height = static_cast<int>(parseInteger(text.substr(x + 1), what, 1, 1 << 20));
}

}  // namespace ozltool
