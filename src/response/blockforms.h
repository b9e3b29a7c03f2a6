// The block forms of a matrix-valued Green's function (all orbitals of a
// site or a cell at once): a list of poles with matrix weights, a chain of
// matrix blocks, a star of matrix blocks and the double chain of a natural
// impurity orbital, their evaluation and conversions, and the impurity
// Hamiltonians that their chain and star forms describe.
//
// With z = w + i gamma/2 (gamma a full width) and M by M blocks:
//   list   G = A0 + sum_k B_k / (z - e_k)
//   chain  G = a0 + b0 X1 b0^dagger,
//          Xi = (z - ai - bi X(i+1) bi^dagger)^-1,  XN = (z - aN)^-1
//   star   G = a0 + b0 (z - a1 - sum_{k=2..N} b(k-1) (z - ak)^-1 b(k-1)^dagger)^-1 b0^dagger
//   natural orbital
//          G = epsilon + V(z) + C(z), V and C the chains val and con
// So in the chain b_i (i >= 1) is the hopping block from site i to site
// i+1 of the one-particle Hamiltonian, and b_0 maps the first site onto the
// source; in the star b_(k-1) is the hopping from the first site to bath
// level k.  Site and bath blocks are Hermitian.
//
// Numeric functions return 0 on success and 1 on failure, after printing one
// line that names what failed.  Functions that make a record initialise it;
// on failure the output holds no memory and must not be freed.
#ifndef SKELDA_RESPONSE_BLOCKFORMS_H
#define SKELDA_RESPONSE_BLOCKFORMS_H

#include <lua.hpp>

#include <cstdint>

#include "base/complex16.h"
#include "manybody/operator.h"
#include "numeric/compactmatrix.h"
#include "response/listofpoles.h"

// Pole k occupies the slice Value[k*S .. k*S+S-1], S = M*M+1: the energy,
// then the weight matrix in row-major order.  After the last pole one more
// slice of the same shape holds the constant matrix A0 behind an unused
// first number, so that element (r,c) of A0 stands at index N*S + 1 + r*M + c.
// Value holds doubles, or Complex16 numbers (energies with imaginary part 0)
// when QComplex is 1.
struct BlockListOfPoles {
    char Name[256];     // "Block List Of Poles" after InitBlockListOfPoles
    uint32_t N;         // number of poles
    uint32_t M;         // block size
    uint32_t QComplex;  // 0 real, 1 complex
    void* Value;
    double mu;          // chemical potential
};

// Chain and star: N sites; a[0] the constant block and a[1..N] the site (or
// bath-level) blocks; b[0..N-1] the coupling blocks (at least one is
// allocated).  Every block is an M by M CompactMatrixType of its own, real
// or complex.
struct BlockTriDiagonalMatrixType {
    char Name[256];
    uint32_t N;
    uint32_t M;
    CompactMatrixType* a;
    CompactMatrixType* b;
    double mu;
};

struct BlockAndersonMatrixType {
    char Name[256];
    uint32_t N;
    uint32_t M;
    CompactMatrixType* a;
    CompactMatrixType* b;
    double mu;
};

// The double chain.  val holds the poles at or below mu and con the poles
// above, each as a chain whose own constant a[0] is zero; epsilon is the
// constant of the function.  T (M by 2M) is the transformation of the
// natural orbitals, the first sites of val and con, onto the source:
// T = [val.b[0] | con.b[0]], so G = epsilon + T diag(Xval, Xcon) T^dagger.
struct BlockNaturalImpurityOrbitalMatrixType {
    char Name[256];
    uint32_t M;
    double mu;
    CompactMatrixType epsilon;
    CompactMatrixType T;
    BlockTriDiagonalMatrixType val;
    BlockTriDiagonalMatrixType con;
};

// ---- the list: records and arithmetic (blocklistofpoles.cpp) ----------------

inline size_t BlockListOfPolesSlice(uint32_t M) { return static_cast<size_t>(M) * M + 1; }

// Allocates Value for L->N poles of block size L->M (real or complex as
// L->QComplex says), all zero; names the list and sets mu to 0.  M = 0 is
// refused.
int InitBlockListOfPoles(BlockListOfPoles* L);
void FreeBlockListOfPoles(BlockListOfPoles* L);
int CopyBlockListOfPoles(BlockListOfPoles* out, BlockListOfPoles in);
// Turns a real list complex in place.
int MakeBlockListOfPolesComplex(BlockListOfPoles* L);

// Energy of pole k, and element (r,c) of its weight or of the constant.
double BlockListOfPolesEnergy(const BlockListOfPoles& L, uint32_t k);
Complex16 BlockListOfPolesWeight(const BlockListOfPoles& L, uint32_t k, uint32_t r, uint32_t c);
Complex16 BlockListOfPolesConstant(const BlockListOfPoles& L, uint32_t r, uint32_t c);

// L := L + other: the poles of other are appended in their order, the
// constant blocks add.  The block sizes must agree.  On failure L is
// unchanged.
int AddBlockListOfPoles(BlockListOfPoles* L, BlockListOfPoles other);
// Multiplies every weight and the constant by factor.
void ScaleBlockListOfPoles(BlockListOfPoles* L, double factor);
// Sorts the poles by energy, ascending (a stable sort).
int OrderBlockListOfPoles(BlockListOfPoles* L);

// The M = 1 list of a scalar list and back (the weights of a complex list
// must be real for the way back).
int ListOfPolesToBlockListOfPoles(ListOfPoles in, BlockListOfPoles* out);
int BlockListOfPolesToListOfPoles(BlockListOfPoles in, ListOfPoles* out);

// The value at w + i gamma/2 as a complex M by M matrix; out is initialised
// here.  The sum over poles runs in parallel for long lists.
int EvaluateBlockListOfPoles(BlockListOfPoles L, CompactMatrixType* out, double w, double gamma);

// ---- reduction and mesh placing (blocklistofpoles_reduce.cpp) ---------------

// Merges poles until at most n are left, by the rule of
// ReduceListOfPolesNumber with the trace norm (the sum of the singular
// values) of a weight matrix in place of a scalar weight: the pole of
// smallest norm goes to its neighbours, whose energies move so that the
// first moment of the norms stays.  Weight matrices add, so the total weight
// is kept exactly.  A pole whose norm is not above tolerance is dropped.
// n = 0 is refused.  The list ends sorted.
int ReduceBlockListOfPoles(BlockListOfPoles* L, unsigned int n, double tolerance);
// Replaces the poles by n poles at the energies of grid (ascending, at least
// two points, neighbours at least 2.220446049250313e-16 apart).  Each old
// pole shares its weight between the two mesh points around it so that the
// first moment stays; a pole outside the mesh goes to the end point.  The
// constant block stays.  On failure L is unchanged.
int BlockListOfPolesPlaceOnMesh(BlockListOfPoles* L, const double* grid, unsigned int n);

// ---- chains, stars, natural orbitals: records (blockchain.cpp) -------------

// Allocate the blocks for ->N sites of size ->M, all zero and real; the name
// is "Block Matrix", mu 0.  N = 0 gives the constant a[0] and one coupling.
int InitBlockTriDiagonalMatrix(BlockTriDiagonalMatrixType* T);
void FreeBlockTriDiagonalMatrix(BlockTriDiagonalMatrixType* T);
int InitBlockAndersonMatrix(BlockAndersonMatrixType* A);
void FreeBlockAndersonMatrix(BlockAndersonMatrixType* A);
// Initialises val and con from val.N and con.N, epsilon zero, T from the
// (zero) couplings.
int InitBlockNaturalImpurityOrbitalMatrix(BlockNaturalImpurityOrbitalMatrixType* B);
void FreeBlockNaturalImpurityOrbitalMatrix(BlockNaturalImpurityOrbitalMatrixType* B);
int CopyBlockTridiagonalMatrix(BlockTriDiagonalMatrixType* out, BlockTriDiagonalMatrixType in);
int CopyBlockAndersonMatrix(BlockAndersonMatrixType* out, BlockAndersonMatrixType in);
int CopyBlockNaturalImpurityOrbitalMatrix(BlockNaturalImpurityOrbitalMatrixType* out,
                                          BlockNaturalImpurityOrbitalMatrixType in);
// T := [val.b[0] | con.b[0]].
int SetTMTFromValandConInBlockNaturalImpurityOrbitalMatrixType(BlockNaturalImpurityOrbitalMatrixType* B);

// ---- evaluation (blockchain_evaluate.cpp) -----------------------------------

// The value at w + i gamma/2 as a complex M by M matrix, out initialised
// here, from the deepest level upward with CompactMatrixInverse at each
// level.  A singular level fails with the LAPACK message of the inverse.
int EvaluateBlockTriDiagonalMatrix(BlockTriDiagonalMatrixType T, CompactMatrixType* out, double w,
                                   double gamma);
int EvaluateBlockAndersonMatrix(BlockAndersonMatrixType A, CompactMatrixType* out, double w,
                                double gamma);

// ---- one-particle Hamiltonians and conversions (blockconversions.cpp) -------

// The NM by NM one-particle Hamiltonian of the sites 1..N of a chain (site
// blocks on the diagonal, b[i] between sites i and i+1) or of a star (the
// first site, then the bath levels, b[k-1] between the first site and level
// k); H is initialised here.
int BlockTriDiagonalMatrixToHamiltonian(BlockTriDiagonalMatrixType T, CompactMatrixType* H);
int BlockAndersonMatrixToHamiltonian(BlockAndersonMatrixType A, CompactMatrixType* H);
// Eigenvalues of those Hamiltonians, ascending, in values (room for N*M).
int BlockTriDiagonalMatrixToEigenvalues(BlockTriDiagonalMatrixType T, double* values);
int BlockAndersonMatrixToEigenvalues(BlockAndersonMatrixType A, double* values);

// Exact lists of poles: one pole of rank one per eigenstate of the
// Hamiltonian, N*M poles in ascending order; the constant is a[0].
int BlockTriDiagonalMatrixToBlockListOfPoles(BlockTriDiagonalMatrixType T, BlockListOfPoles* L);
int BlockAndersonMatrixToBlockListOfPoles(BlockAndersonMatrixType A, BlockListOfPoles* L);
// The chain that block Lanczos makes from the source coupled to the poles,
// of at most n sites (all that the poles allow for n = 0).  Directions
// without weight are carried as uncoupled orbitals of zero energy, and the
// chain ends where the whole coupling vanishes.  The weights must be
// Hermitian and positive semi-definite.
int BlockListOfPolesToBlockTriDiagonalMatrix(BlockListOfPoles L, BlockTriDiagonalMatrixType* T,
                                             unsigned int n);
// The chain of a star: the first site stays, block Lanczos on the bath.
int BlockAndersonMatrixToBlockTriDiagonalMatrix(BlockAndersonMatrixType A, BlockTriDiagonalMatrixType* T);
// The star of a chain: a[0], b[0] and the first site stay; the chain from
// site 2 on is diagonalised and its eigenstates, M at a time, become the
// bath levels (diagonal blocks), coupled through b[1] and their weight on
// site 2.
int BlockTriDiagonalMatrixToBlockAndersonMatrix(BlockTriDiagonalMatrixType T, BlockAndersonMatrixType* A);
int BlockListOfPolesToBlockAndersonMatrix(BlockListOfPoles L, BlockAndersonMatrixType* A);

// The natural orbital: the list is split at mu (poles at or below mu go to
// val), each half reduced to n (val) and m (con) poles (no reduction for 0)
// and turned into its chain.  The ReduceDimension form reduces no poles but
// ends the chains after n and m sites, which keeps the lowest moments of
// each half.
int BlockListOfPolesToBlockNaturalImpurityOrbitalMatrix(BlockListOfPoles L,
                                                        BlockNaturalImpurityOrbitalMatrixType* B,
                                                        double mu, unsigned int n, unsigned int m);
int BlockListOfPolesToBlockNaturalImpurityOrbitalMatrixReduceDimension(
    BlockListOfPoles L, BlockNaturalImpurityOrbitalMatrixType* B, double mu, unsigned int n, unsigned int m);
int BlockNaturalImpurityOrbitalMatrixToBlockListOfPoles(BlockNaturalImpurityOrbitalMatrixType B,
                                                        BlockListOfPoles* L);
// The conversions to a list followed by BlockListOfPolesPlaceOnMesh on the
// n points of grid.
int BlockTriDiagonalMatrixToBlockListOfPolesVariableGrid(BlockTriDiagonalMatrixType T, BlockListOfPoles* L,
                                                         const double* grid, unsigned int n);
int BlockAndersonMatrixToBlockListOfPolesVariableGrid(BlockAndersonMatrixType A, BlockListOfPoles* L,
                                                      const double* grid, unsigned int n);
int BlockNaturalImpurityOrbitalMatrixToBlockListOfPolesVariableGrid(BlockNaturalImpurityOrbitalMatrixType B,
                                                                    BlockListOfPoles* L, const double* grid,
                                                                    unsigned int n);

// ---- impurity Hamiltonians (impurityhamiltonian.cpp) ------------------------

// Where the orbitals of the bath sites go: site by site (mode = firstBathMode
// + s*M + r for bath site s and orbital r) or orbital by orbital (mode =
// firstBathMode + r*NBathSites + s, so that the bath of each orbital is one
// run of modes).
enum ImpurityBathLayout { ImpurityBathSiteMajor = 0, ImpurityBathOrbitalMajor = 1 };

// The one-particle Hamiltonian of a chain or star as an operator named
// "Impurity Hamiltonian", O initialised here.  The first site of the chain
// (of the star) is the impurity: its orbital r is mode impurityModes[r]
// (modes 0..M-1 when impurityModes is null), and all impurity modes lie
// below NImpurity, the number of spin-orbitals of the impurity.  The other
// sites form the bath from firstBathMode (not below NImpurity) on, laid out
// as layout says.  Terms: a[i][r][c] c^dagger(i,r) c(i,c) for every site,
// and each coupling block as b[r][c] c^dagger(i,r) c(j,c) plus its
// conjugate term, added in the normal order of script-built operators;
// zero elements add no term.  The constant a[0] and b[0] are the
// normalisation of the Green's function and not part of the Hamiltonian: the
// impurity block of (z - H)^-1, taken through b[0] and shifted by a[0], is
// the function of the chain.  An NF smaller than the modes need is enlarged
// after a warning.
int BlockTridiagonalMatrixToImpurityHamiltonian(OperatorType* O, BlockTriDiagonalMatrixType T, uint32_t NF,
                                               uint32_t NImpurity, const uint16_t* impurityModes,
                                               uint32_t firstBathMode, ImpurityBathLayout layout);
int BlockAndersonMatrixToImpurityHamiltonian(OperatorType* O, BlockAndersonMatrixType A, uint32_t NF,
                                            uint32_t NImpurity, const uint16_t* impurityModes,
                                            uint32_t firstBathMode, ImpurityBathLayout layout);
// The two chains: the first site of val is the impurity, the bath holds the
// other sites of val and then all sites of con, as if con continued val's
// bath (the chains are not coupled to each other).
int BlockNaturalImpurityOrbitalMatrixToImpurityHamiltonian(OperatorType* O,
                                                          BlockNaturalImpurityOrbitalMatrixType B,
                                                          uint32_t NF, uint32_t NImpurity,
                                                          const uint16_t* impurityModes,
                                                          uint32_t firstBathMode, ImpurityBathLayout layout);

// ---- script faces (lua_blockforms.cpp) --------------------------------------

// 1 when the table at index holds the block form of a response function:
// some element of its lists, or for a natural orbital its epsilon or an
// element of its chains, is a matrix.
int QLuaBlockResponseTable(lua_State* L, int index);

// Readers of the block table forms; each accepts any of the four forms and
// converts.  The caller frees the record.
BlockListOfPoles luaL_checkBlockListOfPoles(lua_State* L, int index);
BlockTriDiagonalMatrixType luaL_checkBlockTriDiagonalMatrixType(lua_State* L, int index);
BlockAndersonMatrixType luaL_checkBlockAndersonMatrixType(lua_State* L, int index);
BlockNaturalImpurityOrbitalMatrixType luaL_checkBlockNatrualImpurityOrbitalMatrixType(lua_State* L, int index);

// Pushers of the table forms, with the metatable ResponseFunctionMeta; the
// matrices are pushed in the table form of matrices.
void LuaPushTable_BlockListOfPoles(lua_State* L, BlockListOfPoles list);
void LuaPushTable_BlockTriDiagonalMatrixType(lua_State* L, BlockTriDiagonalMatrixType T);
void LuaPushTable_BlockAndersonMatrixType(lua_State* L, BlockAndersonMatrixType A);
void LuaPushTable_BlockNaturalImpurityOrbital(lua_State* L, BlockNaturalImpurityOrbitalMatrixType B);

#endif
