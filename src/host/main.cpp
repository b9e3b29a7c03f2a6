#include "host/luahost.h"

int main(int argc, char** argv) { return SkeldaMain(argc, argv); }
