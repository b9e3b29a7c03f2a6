// Pieces shared by the readers and pushers of the table forms of response
// functions, scalar (lua_scalarforms.cpp) and block (lua_blockforms.cpp):
// the type field, the name and number fields, the head of a pushed table,
// and the guards and retries that keep a failed reading from leaking.
// Internal to those two files.
#ifndef SKELDA_RESPONSE_LUA_TABLEFORMS_H
#define SKELDA_RESPONSE_LUA_TABLEFORMS_H

#include <lua.hpp>

namespace tableform {

// The four representations by the type field of a table.
enum class Form { Chain, Star, Poles, Natural };

extern const char* const kChainShape;
// What a natural impurity orbital is called in the reading errors, and the
// format of those errors with one %s, the missing field.
extern const char* const kNaturalWhat;
extern const char* const kNaturalMissing;

// Frees a record when a reading error unwinds past it.
template <class T, void (*Free)(T*)>
struct Guard {
    T* p;
    explicit Guard(T* r) : p(r) {}
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() {
        if (p != nullptr) Free(p);
    }
    void Release() { p = nullptr; }
};

// Runs a numeric step; when it reports failure, collects the interpreter's
// garbage and tries once more.
template <class Step>
int WithRetry(lua_State* L, Step step) {
    int info = step();
    if (info == 1) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        info = step();
    }
    return info;
}

// The form named by the type field of the table at index; raises the
// reading errors for a value that is no table, a missing or unknown type.
Form CheckForm(lua_State* L, int index);
// A number, a numeric string, or a complex number without imaginary part.
bool ReadReal(lua_State* L, int index, double* x);
// The name field (256 bytes at most) and the real field mu of the table at
// index; raises "Reading <what> without name defined" (or mu) when one is
// missing.
void ReadNameAndMu(lua_State* L, int index, const char* what, char* name, double* mu);
// The field read with ReadReal; false when it is missing or not real.
bool ReadNumberField(lua_State* L, int index, const char* field, double* x);
// Raises "Error converting a Green's function from <from> to <to>".
void ConversionFailed(lua_State* L, const char* from, const char* to);

// Sets the global ResponseFunctionMeta, when it exists, as the metatable of
// the table on top of the stack.
void SetResponseFunctionMeta(lua_State* L);
// The fields type, name and mu of the table on top of the stack.
void PushHead(lua_State* L, const char* type, const char* name, double mu);

}  // namespace tableform

#endif
