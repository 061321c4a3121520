#pragma once

#include <map>
#include <string>
#include <vector>

/// Runs other programs.
namespace Program {

using Variables = std::map<std::string, std::string>;

struct Outcome
{
    double secondsToOutput; ///< from its start to the first byte that it printed
    std::string output;     ///< all that it printed
};

/// Runs @p command (the program's path first) to its end, with @p variables beside this program's
/// environment. Throws std::runtime_error where it does not end with exit status 0.
Outcome run(std::vector<std::string> command, const Variables& variables);

/// The lines of a name and a figure that a program printed.
std::map<std::string, double> figures(const std::string& output);

} // namespace Program
