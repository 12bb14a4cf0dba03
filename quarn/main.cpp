#include "quarn/commands/CommandLine.h"

int main(int count, char** words) { return quarn::runCommandLine({words + 1, words + count}); }
