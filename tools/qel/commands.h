// The subcommands of qel, one entry point each; main.cc lists them.
#ifndef QEL_TOOLS_QEL_COMMANDS_H_
#define QEL_TOOLS_QEL_COMMANDS_H_

#include <span>

namespace qel::cli {

int RunDemo(std::span<char* const> args);
int RunClasses(std::span<char* const> args);
int RunRut(std::span<char* const> args);
int RunLayout(std::span<char* const> args);
int RunRecord(std::span<char* const> args);
int RunProps(std::span<char* const> args);
int RunEval(std::span<char* const> args);
int RunUrl(std::span<char* const> args);
int RunHttp(std::span<char* const> args);
int RunDde(std::span<char* const> args);

}  // namespace qel::cli

#endif  // QEL_TOOLS_QEL_COMMANDS_H_
