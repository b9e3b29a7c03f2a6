// Named stopwatches in whole seconds.
#include "base/timing.h"

#include <cstdlib>
#include <cstring>

namespace {

const size_t kNameSize = 256;
const uint32_t kTimingGrowth = 16;

// Index of the entry `name`, or -1.  Names are kept to 255 characters, so
// only that many are compared.
int FindTiming(const char* name, const TimeType* T) {
    for (uint32_t i = 0; i < T->N; i++) {
        if (strncmp(T->Name[i], name, kNameSize - 1) == 0) return (int)i;
    }
    return -1;
}

// Grows one array to n elements of `size` bytes; the array stays as it was
// when that fails.
bool GrowArray(void** array, size_t n, size_t size) {
    void* p = realloc(*array, n * size);
    if (p == nullptr) return false;
    *array = p;
    return true;
}

}  // namespace

TimeType GlobalTime = {0, 0, nullptr, nullptr, nullptr, nullptr, nullptr};

int InitializeTiming(TimeType* T) {
    *T = TimeType{0, 0, nullptr, nullptr, nullptr, nullptr, nullptr};
    return 0;
}

void FreeTiming(TimeType* T) {
    for (uint32_t i = 0; i < T->NAloc; i++) free(T->Name[i]);
    free(T->Name);
    free(T->Total);
    free(T->Start);
    free(T->Running);
    free(T->NumberOfRuns);
    InitializeTiming(T);
}

int EnlargeTimingStructure(TimeType* T) {
    size_t n = (size_t)T->NAloc + kTimingGrowth;
    // An array that grew before a later one failed is merely larger than
    // NAloc says, which does no harm.
    if (!GrowArray((void**)&T->Name, n, sizeof(char*)) || !GrowArray((void**)&T->Total, n, sizeof(uint32_t)) ||
        !GrowArray((void**)&T->Start, n, sizeof(time_t)) || !GrowArray((void**)&T->Running, n, sizeof(uint8_t)) ||
        !GrowArray((void**)&T->NumberOfRuns, n, sizeof(uint32_t))) {
        return 1;
    }
    for (size_t i = T->NAloc; i < n; i++) {
        T->Name[i] = (char*)calloc(kNameSize, 1);
        if (T->Name[i] == nullptr) {
            while (i-- > T->NAloc) free(T->Name[i]);
            return 1;
        }
    }
    T->NAloc = (uint32_t)n;
    return 0;
}

int BeginTiming(const char* name, TimeType* T) {
    int i = FindTiming(name, T);
    if (i >= 0) {
        if (T->Running[i]) {
            printf("Trying to start a timing for %s\n", name);
            printf("But timing still runs\n");
            printf("BeginTiming ignored\n");
            return 1;
        }
        T->Start[i] = time(nullptr);
        T->Running[i] = 1;
        return 0;
    }
    if (T->N == T->NAloc && EnlargeTimingStructure(T) != 0) {
        printf("EnlargeTimingStructure failed\n");
        printf("BeginTiming ignored\n");
        fflush(stdout);
        return 1;
    }
    uint32_t k = T->N;
    strncpy(T->Name[k], name, kNameSize - 1);
    T->Name[k][kNameSize - 1] = '\0';
    T->Total[k] = 0;
    T->NumberOfRuns[k] = 0;
    T->Start[k] = time(nullptr);
    T->Running[k] = 1;
    T->N++;
    return 0;
}

int EndTiming(const char* name, TimeType* T) {
    int i = FindTiming(name, T);
    if (i < 0 || !T->Running[i]) {
        printf("Trying to end a timing for %s\n", name);
        printf(i < 0 ? "But timing never started\n" : "But timing already ended\n");
        printf("EndTiming ignored\n");
        return 1;
    }
    time_t now = time(nullptr);
    // A clock set back while the stopwatch ran adds nothing.
    if (now > T->Start[i]) T->Total[i] += (uint32_t)(now - T->Start[i]);
    T->NumberOfRuns[i]++;
    T->Running[i] = 0;
    return 0;
}

void StreamPrintTiming(TimeType T, FILE* f) {
    fprintf(f, "Timing results\n");
    fprintf(f, "   Total_time | NumberOfRuns | Running | Name\n");
    for (uint32_t i = 0; i < T.N; i++) {
        uint32_t total = T.Total[i];
        if (total >= 86400) {
            fprintf(f, "%4i ", (int)(total / 86400));
        } else {
            fprintf(f, "     ");
        }
        fprintf(f, "%2i:", (int)(total % 86400 / 3600));
        fprintf(f, "%02i:", (int)(total % 3600 / 60));
        fprintf(f, "%02i ", (int)(total % 60));
        fprintf(f, "| %12i | %7i | %s\n", (int)T.NumberOfRuns[i], (int)T.Running[i], T.Name[i]);
    }
}

void PrintTiming(TimeType T) { StreamPrintTiming(T, stdout); }

int FilePrintTiming(TimeType T, const char* fileName) {
    FILE* f = fopen(fileName, "w");
    if (f == nullptr) {
        printf("Could not open %s for writing in FilePrintTiming\n", fileName);
        return 1;
    }
    StreamPrintTiming(T, f);
    fclose(f);
    return 0;
}

int LuaTimeStart(lua_State* L) {
    BeginTiming(luaL_checkstring(L, 1), &GlobalTime);
    return 0;
}

int LuaTimeEnd(lua_State* L) {
    EndTiming(luaL_checkstring(L, 1), &GlobalTime);
    return 0;
}

int LuaTimePrint(lua_State* L) {
    (void)L;
    PrintTiming(GlobalTime);
    return 0;
}
