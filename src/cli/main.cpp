#include "cli/CommandLine.h"

int main(int argc, char** argv)
{
    return velloria::runCommandLine(argc, argv);
}
