#include "cli/CommandLine.h"
#include "platform/LargeBlocks.h"

int main(int argc, char** argv)
{
    velloria::giveLargeBlocksBack();
    return velloria::runCommandLine(argc, argv);
}
