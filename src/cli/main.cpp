#include "cli/CommandLine.h"

int main(int count, char** arguments) {
  return lomix::cli::runProgram({arguments + (count > 0 ? 1 : 0), arguments + count});
}
