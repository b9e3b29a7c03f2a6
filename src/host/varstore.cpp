// io.put and io.get: the names of stored variables, the kinds of stores, and
// the ASCII store (a directory of script files).
#include "host/varstore.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/luahost.h"

namespace {

bool IsAsciiLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool IsAsciiDigit(char c) { return c >= '0' && c <= '9'; }

void CheckVariableName(lua_State* L, const char* name) {
    if (QStringIsValidLuaVariableName(name))
        luaL_error(L,
                   "%s is not a valid token for a variable name in Skelda (only alpha numerical characters and '_' "
                   "are allowed)\n",
                   name);
}

// Pushes "<store>/<file name>.Skelda" and returns it; the file name comes
// from SkeldaVariableToValidFilename (a full collection and a second try if
// that allocation fails).  Null, with nothing pushed, when memory runs out.
const char* PushStoreFilePath(lua_State* L, const char* store, const char* name) {
    char* file = SkeldaVariableToValidFilename(name);
    if (file == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        file = SkeldaVariableToValidFilename(name);
        if (file == nullptr) return nullptr;
    }
    // lua_pushfstring raises only a memory error, which unwinds this frame:
    // hold the name in a guard so it is freed on every path.
    struct Holder {
        char* p;
        ~Holder() { free(p); }
    } holder{file};
    return lua_pushfstring(L, "%s/%s.Skelda", store, holder.p);
}

// The temporary file of LuaPutASCII: closed and removed unless it was
// committed, also when a script error unwinds the writer.
struct PendingFile {
    FILE* file = nullptr;
    const char* path = nullptr;
    ~PendingFile() {
        if (file != nullptr) fclose(file);
        if (path != nullptr) remove(path);
    }
};

}  // namespace

int QStringIsValidLuaVariableName(const char* name) {
    if (name == nullptr || name[0] == '\0' || IsAsciiDigit(name[0])) return 1;
    for (const char* p = name; *p != '\0'; p++)
        if (!IsAsciiLetter(*p) && !IsAsciiDigit(*p) && *p != '_') return 1;
    return 0;
}

char* SkeldaVariableToValidFilename(const char* name) {
    size_t capitals = 0, len = 0;
    for (; name[len] != '\0'; len++)
        if (name[len] >= 'A' && name[len] <= 'Z') capitals++;
    char* out = static_cast<char*>(malloc(len + capitals + 1));
    if (out == nullptr) {
        printf("malloc failed in SkeldaVariableToValidFilename\n");
        return nullptr;
    }
    char* q = out;
    for (const char* p = name; *p != '\0'; p++) {
        if (*p >= 'A' && *p <= 'Z') {
            *q++ = '^';
            *q++ = (char)(*p - 'A' + 'a');
        } else {
            *q++ = *p;
        }
    }
    *q = '\0';
    return out;
}

int LuaPut(lua_State* L, const char* store, const char* name, const char* filetype) {
    CheckVariableName(L, name);
    lua_getglobal(L, name);
    const bool undefined = lua_isnil(L, -1);
    lua_pop(L, 1);
    if (undefined) {
        luaL_warning(L, "try to save variable %s to file %s, but variable is undefined (nil)\n", name, store);
        return 0;
    }

    struct stat st;
    if (stat(store, &st) == 0) {
        if (!S_ISDIR(st.st_mode))
            return luaL_error(L, "Tried to open file %s for reading with get, but filetype not recognized\n", store);
        if (filetype != nullptr && strcmp(filetype, "ASCII") != 0)
            return luaL_error(L, "tried to put variable %s to file %s of indecated type %s, but file is of type ASCII ",
                              name, store, filetype);
        return LuaPutASCII(L, store, name);
    }

    const char* type = filetype != nullptr ? filetype : "ASCII";
    if (strcmp(type, "ASCII") == 0) {
        if (mkdir(store, 0777) != 0) {
            printf("LuaPut could not make the directory %s: %s\n", store, strerror(errno));
            return 1;
        }
        return LuaPutASCII(L, store, name);
    }
    if (strcmp(type, "hdf5") == 0) return luaL_error(L, "hdf5 file format not finished\n");
    return luaL_error(L, "Tried to put variable to new file of unrecognized type %s\n", type);
}

int LuaGet(lua_State* L, const char* store, const char* name) {
    CheckVariableName(L, name);
    struct stat st;
    if (stat(store, &st) != 0)
        return luaL_error(L, "Tried to open file %s for reading, but file does not excists\n", store);
    if (!S_ISDIR(st.st_mode))
        return luaL_error(L, "Tried to open file %s for reading with get, but filetype not recognized\n", store);
    return LuaGetASCII(L, store, name);
}

int LuaPutASCII(lua_State* L, const char* store, const char* name) {
    const int top = lua_gettop(L);
    const char* path = PushStoreFilePath(L, store, name);
    if (path == nullptr) {
        printf("LuaPutASCII: out of memory for the file name of %s\n", name);
        return 1;
    }
    PendingFile pending;
    pending.path = lua_pushfstring(L, "%s.part", path);
    pending.file = fopen(pending.path, "w");
    if (pending.file == nullptr) {
        printf("LuaPutASCII: can't open %s for writing: %s\n", pending.path, strerror(errno));
        pending.path = nullptr;
        lua_settop(L, top);
        return 1;
    }

    fprintf(pending.file, "%s = ", name);
    lua_getglobal(L, name);
    int failed = LuaASCIIStreamPrint(L, -1, pending.file);
    failed |= ferror(pending.file);
    failed |= fclose(pending.file) != 0;
    pending.file = nullptr;
    if (failed) {
        printf("LuaPutASCII: writing %s failed\n", pending.path);
    } else if (rename(pending.path, path) != 0) {
        printf("LuaPutASCII: can't replace %s: %s\n", path, strerror(errno));
        failed = 1;
    } else {
        pending.path = nullptr;
    }
    // A temporary file left behind goes while its path is still on the stack.
    if (pending.path != nullptr) {
        remove(pending.path);
        pending.path = nullptr;
    }
    lua_settop(L, top);
    return failed ? 1 : 0;
}

// Runs the file as dofile does; the assignment inside it sets the global.
// Load and run errors are printed here and turn into the failure of io.get.
int LuaGetASCII(lua_State* L, const char* store, const char* name) {
    const int top = lua_gettop(L);
    const char* path = PushStoreFilePath(L, store, name);
    if (path == nullptr) {
        printf("LuaGetASCII: out of memory for the file name of %s\n", name);
        return 1;
    }
    int status = luaL_loadfile(L, path);
    if (status == LUA_OK) status = lua_pcall(L, 0, 0, 0);
    if (status != LUA_OK) {
        const char* msg = lua_tostring(L, -1);
        printf("LuaGetASCII: %s\n", msg != nullptr ? msg : "(error object is not a string)");
    }
    lua_settop(L, top);
    return status == LUA_OK ? 0 : 1;
}

int io_put(lua_State* L) {
    const int nargs = lua_gettop(L);
    if (nargs != 2 && nargs != 3)
        return luaL_error(L,
                          "io.put caled with %d arguments, 2 (file name, variable name) or 3 (file name, variable "
                          "name, file type) arguments expected.\n",
                          nargs);
    const char* store = luaL_checkstring(L, 1);
    const char* name = luaL_checkstring(L, 2);
    const char* filetype = nargs == 3 ? luaL_checkstring(L, 3) : nullptr;
    if (LuaPut(L, store, name, filetype)) return luaL_error(L, "io.put failed");
    return 0;
}

int io_get(lua_State* L) {
    const char* store = luaL_checkstring(L, 1);
    const char* name = luaL_checkstring(L, 2);
    if (LuaGet(L, store, name)) return luaL_error(L, "io.get failed");
    return 0;
}

void LuaRegisterVariableStore(lua_State* L) {
    lua_getglobal(L, "io");
    if (lua_istable(L, -1)) {
        lua_pushcfunction(L, io_put);
        lua_setfield(L, -2, "put");
        lua_pushcfunction(L, io_get);
        lua_setfield(L, -2, "get");
    }
    lua_pop(L, 1);
}
