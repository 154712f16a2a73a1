#include <iostream>

#include "batch/Interrupt.h"
#include "cli/CommandLine.h"
#include "support/StandardErrorCopy.h"

int main(int count, char** arguments) {
  lomix::batch::endOnSignals();
  lomix::StandardErrorCopy errors;
  return lomix::cli::runCommandLine({arguments + (count > 0 ? 1 : 0), arguments + count},
                                    {std::cout, errors, errors.isTerminal()});
}
