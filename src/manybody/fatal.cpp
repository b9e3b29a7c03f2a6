#include "manybody/fatal.h"

#include <cstdio>
#include <cstdlib>

void FatalAllocationExit() {
    printf("Allocation failed\n");
    printf("No evaluation information impelemented yet\n");
    printf("Sorry you're screwed: System will exit\n");
    fflush(nullptr);
    std::_Exit(1);
}
