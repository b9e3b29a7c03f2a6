// Eigensystem(M) of a dense matrix: the matrix arm of the global Eigensystem.
#include <cstdlib>
#include <memory>

#include "base/complex_lua.h"
#include "base/options.h"
#include "numeric/matrix_lua.h"
#include "numeric/matrix_lua_internal.h"

namespace {

// A matrix counts as Hermitian for its eigensystem under the same relative
// test as for its exponential.
const double kEigensystemHermitianTolerance = kMatrixExpHermitianTolerance;

struct FreeDeleter {
    void operator()(void* p) const { free(p); }
};

}  // namespace

int LuaMatrixEigensystem(lua_State* L) {
    MatrixArgument A(L, 1);
    const CompactMatrixType& M = *A.M;
    if (M.Ni != M.Nj) return luaL_error(L, "Eigensystem of a matrix only works on square matrices\n");
    bool userdata = A.IsUserdata();
    uint32_t N = M.Ni;
    CompactMatrixOwner V;
    if (QCompactMatrixHermitian(M, kEigensystemHermitianTolerance)) {
        std::unique_ptr<double, FreeDeleter> w(static_cast<double*>(
            LuaMallocOrCollect(L, sizeof(double) * N, "Eigensystem")));
        if (CompactMatrixEigensystem(&M, &V.M, w.get())) {
            V.Forget();
            return luaL_error(L, "Eigensystem of a matrix failed\n");
        }
        LuaPushArray_double(L, w.get(), N);
    } else {
        std::unique_ptr<Complex16, FreeDeleter> w(static_cast<Complex16*>(
            LuaMallocOrCollect(L, sizeof(Complex16) * N, "Eigensystem")));
        CompactMatrixOwner left;
        if (NonHermitianCompactMatrixEigensystem(M, &left.M, &V.M, w.get())) {
            left.Forget();
            V.Forget();
            return luaL_error(L, "Eigensystem of a matrix failed\n");
        }
        // Every eigenvalue of a non-Hermitian matrix is a complex object,
        // also where its imaginary part happens to be 0.
        lua_createtable(L, static_cast<int>(N), 0);
        for (uint32_t k = 0; k < N; k++) {
            LuaPushComplex16(L, w.get()[k]);
            lua_rawseti(L, -2, static_cast<int>(k + 1));
        }
    }
    LuaPushMatrixResult(L, &V, userdata);
    return 2;
}
