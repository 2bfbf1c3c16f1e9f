#pragma once

#include <string>
#include <vector>

/// How an independent program that reads our files ended.
struct ProgramResult
{
    int status = -1; ///< exit status; 127 when the program is missing
    std::string output; ///< standard output
    std::string errors;
};

/// Runs a program found in PATH, without a shell, and waits for its end.
ProgramResult runProgram(const std::vector<std::string> &arguments);
