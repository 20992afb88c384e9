// Command-line words: options (--name VALUE, --name=VALUE, --flag) checked
// against what an operation accepts, positional words, and number parsing
// whose errors name the option.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace ozltool {

struct OptionSpec {
    const char* name;   // without the leading dashes
    const char* value;  // the value's placeholder in help ("N", "x,y,w,h"); nullptr: a flag
    const char* help;
    bool repeatable = false;
};

class Arguments {
public:
    Arguments() = default;
    // Throws Error for an unknown option, a missing value or an option given
    // twice that may appear only once.
    Arguments(const std::vector<std::string>& words, const std::vector<OptionSpec>& specs);

    bool has(const std::string& name) const { return options_.count(name) != 0; }
    // The option's value; fallback when it is absent.
    std::string text(const std::string& name, const std::string& fallback = "") const;
    const std::vector<std::string>& all(const std::string& name) const;
    const std::vector<std::string>& positional() const { return positional_; }

    long integer(const std::string& name, long fallback, long lo, long hi) const;
    double real(const std::string& name, double fallback) const;

private:
    std::map<std::string, std::vector<std::string>> options_;
    std::vector<std::string> positional_;
};

// Parsers for option values; `what` names the option in the message
// ("--shift"). Whole words only: "12x" is not a number.
long parseInteger(const std::string& text, const std::string& what, long lo, long hi);
double parseReal(const std::string& text, const std::string& what);
std::vector<std::string> splitList(const std::string& text, char separator);
std::vector<long> parseIntegers(const std::string& text, const std::string& what, long lo, long hi);
std::vector<double> parseReals(const std::string& text, const std::string& what);
// "WxH" with both at least 1.
void parseSize(const std::string& text, const std::string& what, int* width, int* height);

}  // namespace ozltool
