// Option tables: the trailing {{"name", value}, ...} argument of script
// calls, decoded into the variables a C caller declares in a list of
// LuaOptionsType records.
#include <cctype>
#include <cstddef>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/options.h"

namespace {

enum OptionKind {
    kOptionUnknown,
    kOptionString,
    kOptionInt,
    kOptionUint32,
    kOptionUint16,
    kOptionUint8,
    kOptionDouble,
    kOptionBool,
    kOptionArrayUint32Of3,
    kOptionVector,
    kOptionExtension,
};

struct OptionTypeName {
    const char* name;
    OptionKind kind;
    size_t size;  // bytes of the block LuaReturnVariableType allocates
    const LuaOptionTypeExtension* extension;
};

const OptionTypeName kOptionTypes[] = {
    {"char*", kOptionString, 0, nullptr},
    {"int", kOptionInt, sizeof(int32_t), nullptr},
    {"uint32_t", kOptionUint32, sizeof(uint32_t), nullptr},
    {"uint16_t", kOptionUint16, sizeof(uint16_t), nullptr},
    {"uint8_t", kOptionUint8, sizeof(uint8_t), nullptr},
    {"double", kOptionDouble, sizeof(double), nullptr},
    {"bool", kOptionBool, sizeof(uint8_t), nullptr},
    {"array-uint32_t-3", kOptionArrayUint32Of3, 0, nullptr},
    {"Vector", kOptionVector, sizeof(CompactVectorType), nullptr},
};

// The types added by the layers above, each with a copy of its description.
const int kMaxOptionExtensions = 8;
LuaOptionTypeExtension gExtensions[kMaxOptionExtensions];
OptionTypeName gExtensionTypes[kMaxOptionExtensions];
int gNExtensions = 0;

const OptionTypeName* FindOptionType(const char* type) {
    if (type == nullptr) return nullptr;
    for (const OptionTypeName& t : kOptionTypes) {
        if (strcmp(t.name, type) == 0) return &t;
    }
    for (int i = 0; i < gNExtensions; i++) {
        if (strcmp(gExtensionTypes[i].name, type) == 0) return &gExtensionTypes[i];
    }
    return nullptr;
}

// Names match when both are non-empty and equal letter by letter after
// tolower.
bool QOptionNameMatches(const char* given, const char* declared) {
    if (given == nullptr || declared == nullptr || *given == '\0' || *declared == '\0') return false;
    for (; *given != '\0' && *declared != '\0'; given++, declared++) {
        if (tolower((unsigned char)*given) != tolower((unsigned char)*declared)) return false;
    }
    return *given == '\0' && *declared == '\0';
}

// A 3-element table of numbers as a new array; null (and no error) when the
// table has another length.
uint32_t* ReadArrayOfThree(lua_State* L, int idx) {
    luaL_checktype(L, idx, LUA_TTABLE);
    if (luaL_len(L, idx) != 3) return nullptr;
    unsigned int n = 0;
    return luaL_checkarray_unit32_t(L, idx, &n);
}

// Writes the value at idx, decoded as `kind`, into dst, which has the
// layout of the variable behind an option record.
void DecodeOptionValue(lua_State* L, int idx, const OptionTypeName& type, void* dst) {
    switch (type.kind) {
        case kOptionString:
            *(const char**)dst = luaL_checkstring(L, idx);
            break;
        case kOptionInt:
            *(int32_t*)dst = (int32_t)luaL_checkinteger64(L, idx);
            break;
        case kOptionUint32:
            *(uint32_t*)dst = (uint32_t)luaL_checkinteger64(L, idx);
            break;
        case kOptionUint16:
            *(uint16_t*)dst = (uint16_t)luaL_checkinteger64(L, idx);
            break;
        case kOptionUint8:
            *(uint8_t*)dst = (uint8_t)luaL_checkinteger64(L, idx);
            break;
        case kOptionDouble:
            *(double*)dst = luaL_checknumber(L, idx);
            break;
        case kOptionBool:
            *(uint8_t*)dst = lua_toboolean(L, idx) ? 1 : 0;
            break;
        case kOptionArrayUint32Of3:
            *(uint32_t**)dst = ReadArrayOfThree(L, idx);
            break;
        case kOptionVector:
            *(CompactVectorType*)dst = luaL_checkVector(L, idx);
            break;
        case kOptionExtension:
            type.extension->read(L, idx, dst);
            break;
        case kOptionUnknown:
            break;
    }
}

// Stores the value on top of the stack into the variable of one record.  A
// vector that already holds elements gives up its old data, once the new
// value has been read.
void StoreOption(lua_State* L, const LuaOptionsType& record, const OptionTypeName& type) {
    if (type.kind == kOptionVector) {
        CompactVectorType v = luaL_checkVector(L, -1);
        CompactVectorType* var = (CompactVectorType*)record.value;
        if (var->NElem != 0) free(var->data);
        *var = v;
        return;
    }
    DecodeOptionValue(L, -1, type, record.value);
}

// Pushes the text of an unrecognized-option error: the position, the
// message and every declared name with its type.  Returns 1 when the buffer
// for the list can't be had.
int PushUnrecognizedOptionMessage(lua_State* L, int i, const char* name, const LuaOptionsType* options) {
    char* list = (char*)malloc(4048);
    if (list == nullptr) {
        printf("ERROR: malloc failed in LuaCheckOptions\n");
        return 1;
    }
    list[0] = '\0';
    for (const LuaOptionsType* o = options; o->name != nullptr; o++) {
        sprintfAdd(&list, "%s [%s]\n", o->name, o->type != nullptr ? o->type : "");
    }
    luaL_where(L, 1);
    lua_pushfstring(L, "Error in option %d, Unrecognized option \"%s\"\n Possible values for options are:\n%s", i,
                    name, list);
    free(list);
    lua_concat(L, 2);
    return 0;
}

}  // namespace

int LuaCheckOptions(lua_State* L, int idx, LuaOptionsType* options) {
    idx = lua_absindex(L, idx);
    luaL_checktype(L, idx, LUA_TTABLE);
    int n = (int)luaL_len(L, idx);
    for (int i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, i);
        if (lua_type(L, -1) != LUA_TTABLE) {
            luaL_error(L, "Error in option %d, Options should be a LIST of two elements of the form {\"name\",value}\n",
                       i);
        }
        if (luaL_len(L, -1) != 2) {
            luaL_error(L, "Error in option %d, Options should be a list of TWO elements of the form {\"name\",value}\n",
                       i);
        }
        lua_rawgeti(L, -1, 1);
        if (lua_type(L, -1) != LUA_TSTRING) {
            luaL_error(L, "Error in option %d, Options should be a list of two elements of the form {\"NAME\",value}\n",
                       i);
        }
        const char* name = lua_tostring(L, -1);  // stays on the stack while the records are walked
        bool found = false;
        for (LuaOptionsType* o = options; o->name != nullptr; o++) {
            if (!QOptionNameMatches(name, o->name)) continue;
            found = true;
            const OptionTypeName* type = FindOptionType(o->type);
            if (type == nullptr) {
                printf("ERROR: unrecognized type in LuaCheckOptions [%s]\n", o->type != nullptr ? o->type : "");
                continue;
            }
            lua_rawgeti(L, -2, 2);
            StoreOption(L, *o, *type);
            lua_pop(L, 1);
        }
        if (!found) {
            if (PushUnrecognizedOptionMessage(L, i, name, options) != 0) {
                lua_pop(L, 2);
                return 1;
            }
            lua_error(L);
        }
        lua_pop(L, 2);
    }
    return 0;
}

int LuaTestOptionsList(lua_State* L, int idx) {
    idx = lua_absindex(L, idx);
    if (lua_type(L, idx) != LUA_TTABLE) return 0;
    int n = (int)lua_rawlen(L, idx);
    for (int i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, i);
        bool ok = lua_type(L, -1) == LUA_TTABLE && lua_rawlen(L, -1) == 2;
        if (ok) {
            lua_rawgeti(L, -1, 1);
            ok = lua_type(L, -1) == LUA_TSTRING;
            lua_pop(L, 1);
        }
        lua_pop(L, 1);
        if (!ok) return 0;
    }
    return 1;
}

namespace {

// Frees what LuaReturnVariableType gave for a type.  The string of "char*"
// belongs to the interpreter.
void FreeReturnedVariable(void* p, const OptionTypeName* type) {
    if (p == nullptr || type == nullptr || type->kind == kOptionString) return;
    if (type->kind == kOptionVector) free(((CompactVectorType*)p)->data);
    if (type->kind == kOptionExtension) type->extension->release(p);
    free(p);
}

}  // namespace

void* LuaFindOptionsInTable(lua_State* L, int idx, const char* name, const char* type) {
    idx = lua_absindex(L, idx);
    if (lua_type(L, idx) != LUA_TTABLE) return nullptr;
    int n = (int)lua_rawlen(L, idx);
    const OptionTypeName* kind = FindOptionType(type);
    void* result = nullptr;
    for (int i = 1; i <= n; i++) {
        lua_rawgeti(L, idx, i);
        if (lua_type(L, -1) != LUA_TTABLE) {
            // Not a list of pairs: no option can be read from it.
            lua_pop(L, 1);
            FreeReturnedVariable(result, kind);
            return nullptr;
        }
        lua_rawgeti(L, -1, 1);
        int t = lua_type(L, -1);
        if ((t == LUA_TSTRING || t == LUA_TNUMBER) && strcmp(lua_tostring(L, -1), name) == 0) {
            lua_rawgeti(L, -2, 2);
            void* value = LuaReturnVariableType(L, -1, type);
            lua_pop(L, 1);
            FreeReturnedVariable(result, kind);
            result = value;
        }
        lua_pop(L, 2);
    }
    return result;
}

void* LuaReturnVariableType(lua_State* L, int idx, const char* type) {
    const OptionTypeName* t = FindOptionType(type);
    if (t == nullptr) return nullptr;
    if (t->kind == kOptionString) return (void*)luaL_checkstring(L, idx);
    if (t->kind == kOptionArrayUint32Of3) return ReadArrayOfThree(L, idx);
    idx = lua_absindex(L, idx);
    // Read into a local first, so that a script error leaves nothing behind.
    union {
        int32_t i32;
        uint32_t u32;
        uint16_t u16;
        uint8_t u8;
        double d;
        CompactVectorType v;
        alignas(std::max_align_t) unsigned char extension[kLuaOptionExtensionMaxSize];
    } value;
    memset(&value, 0, sizeof value);
    DecodeOptionValue(L, idx, *t, &value);
    void* block = malloc(t->size);
    if (block == nullptr) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        block = malloc(t->size);
    }
    if (block == nullptr) {
        if (t->kind == kOptionVector) free(value.v.data);
        luaL_error(L, "Allocation failed in %s", "LuaReturnVariableType");
    }
    memcpy(block, &value, t->size);
    return block;
}

int sprintfAdd(char** buffer, const char* format, ...) {
    size_t len = (*buffer != nullptr) ? strlen(*buffer) : 0;
    va_list ap;
    va_start(ap, format);
    va_list measure;
    va_copy(measure, ap);
    int add = vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    // Grow in steps of 2024 bytes with at least 2024 to spare; a longer
    // piece of text gets the room it needs.
    size_t size = (len / 2024) * 2024 + 4048;
    if (add > 0 && len + (size_t)add + 1 > size) size = len + (size_t)add + 1;
    char* grown = (char*)realloc(*buffer, size);
    if (grown == nullptr) {
        va_end(ap);
        printf("ERROR: realloc failed in sprintfAdd\n");
        return 1;
    }
    if (*buffer == nullptr) grown[0] = '\0';
    *buffer = grown;
    int written = vsprintf(grown + len, format, ap);
    va_end(ap);
    return written;
}

int LuaAddOptionType(const LuaOptionTypeExtension& type) {
    if (type.name == nullptr || type.size > kLuaOptionExtensionMaxSize || type.read == nullptr ||
        type.release == nullptr)
        return 1;
    int slot = 0;
    while (slot < gNExtensions && strcmp(gExtensions[slot].name, type.name) != 0) slot++;
    if (slot == kMaxOptionExtensions) return 1;
    gExtensions[slot] = type;
    gExtensionTypes[slot] = {gExtensions[slot].name, kOptionExtension, type.size, &gExtensions[slot]};
    if (slot == gNExtensions) gNExtensions++;
    return 0;
}
