// The subcommands of qel, one entry point each; main.cc lists them.
#ifndef QEL_TOOLS_QEL_COMMANDS_H_
#define QEL_TOOLS_QEL_COMMANDS_H_

#include <span>

namespace qel::cli {

int RunDemo(std::span<char* const> args);
int RunClasses(std::span<char* const> args);
int RunDde(std::span<char* const> args);

}  // namespace qel::cli

#endif  // QEL_TOOLS_QEL_COMMANDS_H_
