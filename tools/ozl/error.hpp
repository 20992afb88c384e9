// The one way the tool fails: an Error carries the line printed on standard
// error ("ozl: " + what()), and the program then exits with status 1.
#pragma once

#include <stdexcept>
#include <string>

namespace ozltool {

class Error : public std::runtime_error {
public:
    explicit Error(const std::string& message) : std::runtime_error(message) {}
};

}  // namespace ozltool
