// The commands of the corvale program. Each takes the arguments that follow its name and
// returns the exit status: 0 success, 1 a document or model error, 2 a usage error.
// A new command is one function here and one line in main.cpp's table.
#pragma once

#include <string>
#include <vector>

namespace corvale::cli {

int RunCheck(const std::vector<std::string>& args);
int RunInstrument(const std::vector<std::string>& args);
int RunLibrary(const std::vector<std::string>& args);
int RunLoggers(const std::vector<std::string>& args);
int RunMerge(const std::vector<std::string>& args);
int RunRun(const std::vector<std::string>& args);

}  // namespace corvale::cli
