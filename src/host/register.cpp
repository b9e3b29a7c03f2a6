// Registration of everything the system adds to the interpreter.
#include "host/register.h"

#include "atomic/basis_lua.h"
#include "atomic/coulomb_lua.h"
#include "atomic/oneparticle_lua.h"
#include "atomic/orbitals_lua.h"
#include "host/complex_lua.h"
#include "host/global_dispatch.h"
#include "host/luahost.h"
#include "host/mathlib.h"
#include "host/timing.h"
#include "host/units.h"
#include "host/varstore.h"
#include "host/verbosity.h"
#include "manybody/expectation_lua.h"
#include "manybody/operator_lua.h"
#include "manybody/wavefunction_lua.h"
#include "numeric/interpolatingfunction_lua.h"
#include "numeric/matrix_lua.h"
#include "response/responsefunction.h"

void SkeldaSetGlobalFunctions(lua_State* L, const luaL_Reg* list) {
    for (; list->name != nullptr; list++) {
        lua_pushcfunction(L, list->func);
        lua_setglobal(L, list->name);
    }
}

void SkeldaRegisterHostLibraries(lua_State* L) {
    LuaRegisterMathLibrary(L);
    RegisterPhysicalConstants(L);
    RegisterEnergyUnits(L, "eV");
    LuaRegisterComplex(L);
    LuaRegisterVariableStore(L);
}

void SkeldaRegisterImaginaryUnit(lua_State* L) {
    LuaRegisterImaginaryUnit(L);
}

namespace {

// Stopwatches and the verbosity mask: part of the alphabetical list of
// global functions.
void RegisterTimingGlobals(lua_State* L) {
    static const luaL_Reg functions[] = {
        {"TimeEnd", LuaTimeEnd},
        {"TimePrint", LuaTimePrint},
        {"TimeStart", LuaTimeStart},
        {"Verbosity", LuaVerbosity},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
}

// Orbital names, index tables and basis changes of atomic shells.
void RegisterAtomicGlobals(lua_State* L) {
    static const luaL_Reg functions[] = {
        {"CreateAtomicIndicesDict", LuaCreateAtomicIndicesDict},
        {"CreateAtomicIndicesList", LuaCreateAtomicIndicesList},
        {"NonRelToRelOrbitals", LuaNonRelToRelOrbitals},
        {"OrbToMultiplicity", LuaOrbToMultiplicity},
        {"OrbitalRotationMatrix", LuaOrbitalRotationMatrix},
        {"RelToNonRelOrbitals", LuaRelToNonRelOrbitals},
        {"YtoKMatrix", LuaYtoKMatrix},
        {"YtoZMatrix", LuaYtoZMatrix},
        {"YtojjzMatrix", LuaYtojjzMatrix},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, functions);
    // The named atomic operators of NewOperator.
    LuaRegisterOneParticleOperators();
    LuaRegisterCoulombOperators();
}

}  // namespace

// Object types, library tables and global functions of the many-body system.
// Order: Operator_Type, Wavefunction_Type, Spectra_Type and Spectra,
// PostScript, InterpolatingFunction_Type and InterpolatingFunction,
// TightBinding_Type, ResponseFunction_Type and ResponseFunctionMeta, the
// response-function globals, Matrix_Type, Matrix, MatrixMeta, the foreign-file
// types, Ulmen, Rondo, Tessel, the global functions, then the math names as
// globals.  A later registration of a name overwrites an earlier one.
int luaopen_ssp(lua_State* L) {
    LuaRegisterOperatorType(L);
    LuaRegisterWavefunctionType(L);
    LuaRegisterInterpolatingFunctionType(L);
    LuaRegisterResponseFunctionType(L);
    static const luaL_Reg responseFunctionGlobals[] = {
        {"ChangeType", LuaChangeTypeResponseFunction},
        {"ReducePoles", LuaReducePolesResponseFunction},
        {"PlaceOnMesh", LuaPlaceOnMeshResponseFunction},
        {"ToTable", LuaResponseFunctionToTable},
        {"ToUserdata", LuaResponseFunctionToUserdata},
        {"ToTightBinding", LuaResponseFunctionToTightBinding},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, responseFunctionGlobals);
    // Matrix_Type, Matrix and MatrixMeta: after the response-function globals.
    LuaRegisterMatrixType(L);
    LuaRegisterWavefunctionFileLibrary(L);
    // The global functions.
    // The calls that act on several kinds (see host/global_dispatch.h).
    static const luaL_Reg dispatchedGlobals[] = {
        {"Chop", LuaChop},
        {"Clone", Luacopy},
        {"Conjugate", Luaconjugate},
        {"ConjugateTranspose", Luaconjugatetranspose},
        {"Copy", Luacopy},
        {"Eigensystem", LuaEigensystem},
        {"Inverse", LuaInverse},
        {"Rotate", Luarotate},
        {"Transpose", Luatranspose},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, dispatchedGlobals);
    RegisterTimingGlobals(L);
    RegisterAtomicGlobals(L);
    static const luaL_Reg wavefunctionGlobals[] = {
        {"DeterminantString", LuaDeterminantString},
        {"Expand", LuaWavefunctionExpand},
        {"ExpandToBasis", LuaWaveFunctionToDeterminantBasis},
        {"NewWavefunction", LuaNewWaveFunction},
        {"Orthonormalize", LuaOrthonormalize},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, wavefunctionGlobals);
    static const luaL_Reg operatorGlobals[] = {
        {"NewOperator", LuaNewOperator},
        {"OperatorSetTrace", LuaOperatorSetTrace},
        {"OperatorToMatrix", LuaOperatorToMatrix},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, operatorGlobals);
    static const luaL_Reg expectationGlobals[] = {
        {"Braket", LuaBraKet},
        {"BraketDiagonal", LuaBraKetDiagonal},
        {"DensityMatrix", LuaDensityMatrix},
        {"PrintExpectationValues", LuaPrintExpectationValues},
        {"Statistics", LuaStatistics},
        {nullptr, nullptr},
    };
    SkeldaSetGlobalFunctions(L, expectationGlobals);
    // Last: the functions of math as globals.
    LuaRegisterMathGlobals(L);
    return 0;
}
