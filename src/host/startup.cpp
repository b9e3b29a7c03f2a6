// Program start-up: floating-point mode, banner, machine lines, seeding,
// creation and filling of the interpreter, and the protected run of the script.
#include "host/luahost.h"

#include <omp.h>
#include <unistd.h>
#include <xmmintrin.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "base/random.h"
#include "host/register.h"

namespace {

// Inner banner lines are 61 characters: "====    " + 49 characters + "====".
const char* const kBannerSeparator = "=============================================================";

const char* const kBannerMakers[] = {
    "====    Skelda                                           ====",
    "====    Quantum many-body calculator for core-level      ====",
    "====    spectroscopy and correlated-electron models      ====",
    "====    Written by the Skelda developers                 ====",
    "====    Documentation: README.md of the Skelda sources   ====",
};

const char* const kBannerCitations[] = {
    "====    When used in scientific publications please cite ====",
    "====    one of the following papers as appropriate with  ====",
    "====    respect to the methods used in your publication: ====",
    "====    - Skelda manual, README.md: the many-body model  ====",
    "====    - Skelda manual, README.md: the Krylov solvers   ====",
    "====    - Skelda manual, README.md: spectra and response ====",
    "====    - Skelda examples: examples/ in the sources      ====",
};

// The stock allocator of the auxiliary library.
void* l_alloc(void* ud, void* ptr, size_t osize, size_t nsize) {
    (void)ud;
    (void)osize;
    if (nsize == 0) {
        free(ptr);
        return nullptr;
    }
    return realloc(ptr, nsize);
}

// The stock panic function of the auxiliary library.
int panic(lua_State* L) {
    fprintf(stderr, "PANIC: unprotected error in call to Lua API (%s)\n", lua_tostring(L, -1));
    return 0;
}

void SetGlobalNumber(lua_State* L, const char* name, double value) {
    lua_pushnumber(L, value);
    lua_setglobal(L, name);
}

}  // namespace

void SkeldaPrintBanner() {
    puts(kBannerSeparator);
    for (const char* line : kBannerMakers) puts(line);
    puts("====    Beta version, be critical and report errors!!!   ====");
    puts(kBannerSeparator);
    puts("====    Version 0.6 Autumn 2018                          ====");
    printf("====            compiled at: %s at %s     ====\n", __DATE__, __TIME__);
    puts(kBannerSeparator);
    for (const char* line : kBannerCitations) puts(line);
    puts(kBannerSeparator);
}

int SkeldaMain(int argc, char** argv) {
    // Flush-to-zero and denormals-are-zero for the whole run.
    _mm_setcsr(_mm_getcsr() | 0x8040);

    SkeldaPrintBanner();

    time_t now = time(nullptr);
    printf("Program executed on: %s", asctime(localtime(&now)));
    char host[256];
    KSVgethostname(host, sizeof host);
    host[sizeof host - 1] = '\0';
    printf("Running on host    : %s\n", host);
    printf("number of available processors              : %i\n", omp_get_num_procs());
    printf("maximum number of threads in parallel region: %i\n", omp_get_max_threads());
    printf("Smallest positive float  : %E \n", DBL_MIN);
    printf("Smallest deviation from 1: %E \n", DBL_EPSILON);
    printf("\n");

    ksvsrand((unsigned)time(nullptr));
    for (int i = 0; i < 10; i++) (void)rand();

    if (argc != 2) {
        printf("Usage: %s luafile\n", argv[0]);
        return 1;
    }

    lua_State* L = lua_newstate(l_alloc, nullptr);
    if (L == nullptr) {
        // Out of memory before anything ran: say so instead of faulting.
        printf("Error while loading the script:\n%s\n\n", "not enough memory to create the interpreter");
        return 1;
    }
    lua_atpanic(L, &panic);

    luaL_openlibs(L);
    SkeldaOpenInterpreterAdditions(L);
    SkeldaRegisterHostLibraries(L);
    luaopen_ssp(L);

    SkeldaRegisterImaginaryUnit(L);
    SetGlobalNumber(L, "Pi", M_PI);
    SetGlobalNumber(L, "pi", M_PI);
    SetGlobalNumber(L, "E", M_E);
    SetGlobalNumber(L, "e", M_E);
    SetGlobalNumber(L, "inf", HUGE_VAL);

    // Objects of this system hold memory the collector does not see: start a
    // new cycle as soon as the previous one ends.
    lua_gc(L, LUA_GCSETPAUSE, 100);

    int status = 0;
    if (luaL_loadfile(L, argv[1]) != LUA_OK) {
        printf("Error while loading the script:\n%s\n\n", lua_tostring(L, -1));
        status = 1;
    } else if (lua_pcall(L, 0, 0, 0) != LUA_OK) {
        const char* msg = lua_tolstring(L, -1, nullptr);
        fprintf(stderr, "Error while executing the script:\n%s\n\n", msg ? msg : "(error object is not a string)");
        status = 1;
    }
    fflush(stdout);
    lua_close(L);
    return status;
}

int KSVgethostname(char* name, size_t len) { return gethostname(name, len); }

