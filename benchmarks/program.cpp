#include "program.h"

#include <array>
#include <chrono>
#include <sstream>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "comparison.h"

namespace {

using Clock = std::chrono::steady_clock;

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> result;
    result.reserve(texts.size() + 1);
    for (std::string& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> environmentWith(const Program::Variables& variables)
{
    std::vector<std::string> environment;
    for (const auto& [name, value] : variables)
        environment.emplace_back(name).append(1, '=').append(value);
    for (char** entry = environ; *entry; ++entry) {
        const std::string text(*entry);
        if (variables.count(text.substr(0, text.find('='))) == 0)
            environment.push_back(text);
    }
    return environment;
}

pid_t start(std::vector<std::string>& command, const Program::Variables& variables, int output)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    std::vector<std::string> environment = environmentWith(variables);
    pid_t process = 0;
    const int error = posix_spawn(&process, command[0].c_str(), &actions, nullptr, pointers(command).data(),
                                  pointers(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    Comparison::require(error == 0, command[0] + " cannot be started");
    return process;
}

} // namespace

namespace Program {

Outcome run(std::vector<std::string> command, const Variables& variables)
{
    int ends[2];
    Comparison::require(pipe2(ends, O_CLOEXEC) == 0, "no pipe");
    const auto begin = Clock::now();
    const pid_t process = start(command, variables, ends[1]);
    close(ends[1]);
    Outcome outcome{0, {}};
    std::array<char, 4096> piece;
    ssize_t bytes = 0;
    while ((bytes = read(ends[0], piece.data(), piece.size())) > 0) {
        if (outcome.output.empty())
            outcome.secondsToOutput = std::chrono::duration<double>(Clock::now() - begin).count();
        outcome.output.append(piece.data(), static_cast<std::size_t>(bytes));
    }
    close(ends[0]);
    int status = 0;
    waitpid(process, &status, 0);
    Comparison::require(WIFEXITED(status) && WEXITSTATUS(status) == 0, command[0] + " failed");
    return outcome;
}

std::map<std::string, double> figures(const std::string& output)
{
    std::map<std::string, double> result;
    std::istringstream lines(output);
    std::string name;
    for (double figure = 0; lines >> name >> figure;)
        result[name] = figure;
    return result;
}

} // namespace Program
