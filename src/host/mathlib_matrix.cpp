// The matrix and vector functions of the table math: Dot, MatrixTranspose,
// MatrixConjugateTranspose and MatrixConjugate.
//
// A matrix argument is a table of rows (numbers or complex numbers, every row
// of one length) or a Matrix_Type userdata, a full userdata that holds a
// CompactMatrixType record with QBorrowed set (its buffers belong to the
// userdata and are freed by its finaliser).  A table is read as complex and
// turned real when no element has an imaginary part beyond the rounding of
// its real part.  Table results are tables of rows with the global MatrixMeta
// as metatable; a real matrix gives numbers, a complex one a complex object
// for every element.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "host/complex_lua.h"
#include "host/mathlib.h"
#include "host/options.h"
#include "numeric/compactmatrix.h"

namespace {

const char* const kMatrixTypeName = "Matrix_Type";

// An element read from a table is real when |im| <= |re| times this.
const double kRealTolerance = 2.220446049250313e-16;

// Frees a malloc'ed block when a script error unwinds past it.
struct FreeOnExit {
    void* p;
    ~FreeOnExit() { free(p); }
};

// A matrix owned by this file, freed when a script error unwinds past it.
struct OwnedMatrix {
    CompactMatrixType M{};
    bool live = false;
    ~OwnedMatrix() {
        if (live) FreeCompactMatrix(&M);
    }
};

// Initialises M (dimensions and QComplex set); on a failed allocation runs a
// full collection and tries once more before raising.
void InitMatrixOrRaise(lua_State* L, OwnedMatrix* m, const char* who) {
    if (InitCompactMatrix(&m->M) != 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (InitCompactMatrix(&m->M) != 0) luaL_error(L, "Allocation failed in %s", who);
    }
    m->live = true;
}

void CopyMatrixOrRaise(lua_State* L, const CompactMatrixType& src, OwnedMatrix* m, const char* who) {
    if (CompactMatrixCopy(src, &m->M) != 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (CompactMatrixCopy(src, &m->M) != 0) luaL_error(L, "Allocation failed in %s", who);
    }
    m->live = true;
}

CompactMatrixType* TestMatrixUserdata(lua_State* L, int idx) {
    return static_cast<CompactMatrixType*>(luaL_testudata(L, idx, kMatrixTypeName));
}

// A matrix argument has the form of a matrix: a Matrix_Type userdata, or a
// table whose first element is a table.
bool HasMatrixForm(lua_State* L, int idx) {
    if (TestMatrixUserdata(L, idx) != nullptr) return true;
    if (lua_type(L, idx) != LUA_TTABLE) return false;
    lua_rawgeti(L, idx, 1);
    bool rows = lua_type(L, -1) == LUA_TTABLE;
    lua_pop(L, 1);
    return rows;
}

// Reads the table of rows at idx into m.
void ReadMatrixTable(lua_State* L, int idx, OwnedMatrix* m, const char* who) {
    idx = lua_absindex(L, idx);
    uint32_t Ni = (uint32_t)lua_rawlen(L, idx);
    uint32_t Nj = 0;
    if (Ni > 0) {
        lua_rawgeti(L, idx, 1);
        if (lua_type(L, -1) == LUA_TTABLE) Nj = (uint32_t)lua_rawlen(L, -1);
        lua_pop(L, 1);
    }
    m->M.Ni = Ni;
    m->M.Nj = Nj;
    m->M.QComplex = 1;
    InitMatrixOrRaise(L, m, who);
    Complex16* data = CompactMatrixComplexData(m->M);
    bool real = true;
    for (uint32_t i = 0; i < Ni; i++) {
        lua_rawgeti(L, idx, (int)(i + 1));
        if (lua_type(L, -1) != LUA_TTABLE) {
            luaL_error(L, "Error while reading matrix. Row %d is a %s, not a table", (int)(i + 1),
                       luaL_typename(L, -1));
        }
        unsigned int n = 0;
        FreeOnExit row{luaL_checkarray_complex16(L, -1, &n)};
        if (n != Nj) {
            luaL_error(L, "Error while reading matrix. Dimensions of rows not constant. %d at first row %d at row %d",
                       (int)Nj, (int)n, (int)(i + 1));
        }
        const Complex16* z = static_cast<const Complex16*>(row.p);
        for (uint32_t j = 0; j < Nj; j++) {
            data[(size_t)i * Nj + j] = z[j];
            if (std::fabs(z[j].im) > std::fabs(z[j].re * kRealTolerance)) real = false;
        }
        lua_pop(L, 1);
    }
    if (real && MakeCompactComplexMatrixReal(&m->M) != 0) {
        lua_gc(L, LUA_GCCOLLECT, 0);
        if (MakeCompactComplexMatrixReal(&m->M) != 0) luaL_error(L, "Allocation failed in %s", who);
    }
}

// The matrix at idx: the record of a userdata (not owned), or a table read
// into own (which then holds it).  Anything else raises the stock argument
// error.
const CompactMatrixType* CheckMatrix(lua_State* L, int idx, OwnedMatrix* own, const char* who) {
    if (CompactMatrixType* ud = TestMatrixUserdata(L, idx)) return ud;
    if (lua_type(L, idx) != LUA_TTABLE) {
        luaL_argerror(L, idx, lua_pushfstring(L, "%s expected, got %s", kMatrixTypeName, luaL_typename(L, idx)));
    }
    ReadMatrixTable(L, idx, own, who);
    return &own->M;
}

// Pushes M as a table of rows with the metatable MatrixMeta.
void PushMatrixTable(lua_State* L, const CompactMatrixType& M) {
    lua_createtable(L, (int)M.Ni, 0);
    for (uint32_t i = 0; i < M.Ni; i++) {
        lua_createtable(L, (int)M.Nj, 0);
        for (uint32_t j = 0; j < M.Nj; j++) {
            size_t k = (size_t)i * M.Nj + j;
            if (M.QComplex) {
                LuaPushComplex16(L, CompactMatrixComplexData(M)[k]);
            } else {
                lua_pushnumber(L, CompactMatrixRealData(M)[k]);
            }
            lua_rawseti(L, -2, (int)(j + 1));
        }
        lua_rawseti(L, -2, (int)(i + 1));
    }
    lua_getglobal(L, "MatrixMeta");
    lua_setmetatable(L, -2);
}

// Pushes a new Matrix_Type userdata that takes over the buffers of m.
void PushMatrixUserdata(lua_State* L, OwnedMatrix* m) {
    CompactMatrixType* ud = static_cast<CompactMatrixType*>(lua_newuserdata(L, sizeof(CompactMatrixType)));
    *ud = m->M;
    ud->QBorrowed = 1;
    m->live = false;
    luaL_setmetatable(L, kMatrixTypeName);
}

enum MatrixOperation { OpTranspose, OpConjugateTranspose, OpConjugate };

// One matrix in, the same form out, transformed by op on a copy.
int MatrixUnary(lua_State* L, MatrixOperation op, const char* name) {
    int n = lua_gettop(L);
    if (n != 1) return luaL_error(L, "%s called with %d arguments, only one expected", name, n);
    OwnedMatrix result;
    if (const CompactMatrixType* ud = TestMatrixUserdata(L, 1)) {
        CopyMatrixOrRaise(L, *ud, &result, name);
    } else {
        CheckMatrix(L, 1, &result, name);
    }
    // A transpose that fails for want of memory leaves the matrix as it was.
    for (int attempt = 0;; attempt++) {
        int failed = 0;
        switch (op) {
            case OpTranspose: failed = CompactMatrixTranspose(&result.M); break;
            case OpConjugateTranspose: failed = CompactMatrixConjugateTranspose(&result.M); break;
            case OpConjugate: CompactMatrixConjugate(&result.M); break;
        }
        if (!failed) break;
        if (attempt > 0) return luaL_error(L, "Allocation failed in %s", name);
        lua_gc(L, LUA_GCCOLLECT, 0);
    }
    if (TestMatrixUserdata(L, 1) != nullptr) {
        PushMatrixUserdata(L, &result);
    } else {
        PushMatrixTable(L, result.M);
    }
    return 1;
}

int DotMatrices(lua_State* L) {
    OwnedMatrix ownA, ownB, product;
    const CompactMatrixType* A = CheckMatrix(L, 1, &ownA, "math.Dot");
    const CompactMatrixType* B = CheckMatrix(L, 2, &ownB, "math.Dot");
    if (A->Nj != B->Ni) {
        return luaL_error(L,
                          "Matrix multiplication requirs the number of columns of the left matrix (%d) "
                          "to be equal to the number of rows (%d) of the right",
                          (int)A->Nj, (int)B->Ni);
    }
    product.M.Ni = A->Ni;
    product.M.Nj = B->Nj;
    product.M.QComplex = (A->QComplex || B->QComplex) ? 1 : 0;
    InitMatrixOrRaise(L, &product, "math.Dot");
    if (CompactMatrixAddMultiply("N", "N", *A, *B, &product.M, 1.0, 0.0, 0.0, 0.0) != 0) {
        return luaL_error(L, "math.Dot failed in the matrix product");
    }
    PushMatrixTable(L, product.M);
    return 1;
}

// sum_i conj(a_i) b_i; a number when both vectors are real.
int DotVectors(lua_State* L) {
    CompactVectorType a = luaL_checkVector(L, 1);
    FreeOnExit freeA{a.data};
    CompactVectorType b = luaL_checkVector(L, 2);
    FreeOnExit freeB{b.data};
    if (a.NElem != b.NElem) {
        return luaL_error(L, "math.Dot expects two vectors of equal length, got %d and %d", (int)a.NElem,
                          (int)b.NElem);
    }
    if (!a.QComplex && !b.QComplex) {
        const double* x = static_cast<const double*>(a.data);
        const double* y = static_cast<const double*>(b.data);
        double sum = 0;
        for (uint32_t i = 0; i < a.NElem; i++) sum += x[i] * y[i];
        lua_pushnumber(L, sum);
        return 1;
    }
    Complex16 sum{0.0, 0.0};
    for (uint32_t i = 0; i < a.NElem; i++) {
        Complex16 x = a.QComplex ? static_cast<const Complex16*>(a.data)[i]
                                 : Cnum(static_cast<const double*>(a.data)[i], 0.0);
        Complex16 y = b.QComplex ? static_cast<const Complex16*>(b.data)[i]
                                 : Cnum(static_cast<const double*>(b.data)[i], 0.0);
        sum += Conjugate(x) * y;
    }
    LuaPushComplex16(L, sum);
    return 1;
}

}  // namespace

int math_Dot(lua_State* L) {
    if (lua_gettop(L) != 2) return luaL_error(L, "math.Dot expects 2 parameters a,b");
    bool matrixA = HasMatrixForm(L, 1), matrixB = HasMatrixForm(L, 2);
    if (matrixA && matrixB) return DotMatrices(L);
    if (matrixA || matrixB) return luaL_error(L, "math.Dot expects two vectors or two matrices");
    return DotVectors(L);
}

int math_MatrixTranspose(lua_State* L) { return MatrixUnary(L, OpTranspose, "Matrix.Transpose"); }

int math_MatrixConjugateTranspose(lua_State* L) {
    return MatrixUnary(L, OpConjugateTranspose, "Matrix.ConjugateTranspose");
}

int math_MatrixConjugate(lua_State* L) { return MatrixUnary(L, OpConjugate, "Matrix.Conjugate"); }
