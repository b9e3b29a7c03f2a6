// Orbital names and the layout of atomic shells on spin-orbitals.
//
// Spin-orbitals are numbered from 0.  A non-relativistic shell of momentum l
// at base b holds the state (m, spin) at b + 2(m+l) + s, m ascending from -l,
// s = 0 for spin down and 1 for spin up.  A relativistic shell of momentum j
// holds 2j+1 consecutive numbers, jz ascending.
//
// An orbital name is free text judged by its end only.  Its last character
// names a non-relativistic shell (s p d f g h, lower case): "Ni_3d", "3d" and
// "dd" are d shells.  A relativistic shell ends in a j part: an odd digit,
// then at least one "/" mixed with any tabs and blanks, then "2", then
// possibly tabs and blanks: "Ni_3d3/2", "3d 5 / 2".  The multiplicity of a
// shell counts its fermionic states: 2(2l+1) or 2j+1.
#ifndef SKELDA_ATOMIC_ORBITALS_H
#define SKELDA_ATOMIC_ORBITALS_H

#include <string>
#include <vector>

// 2l+1 from the last character ("s" 1 ... "h" 11), else -1.
int nonRelAngularMomentumZNumbers(const std::string& name);
// 2j+1 from the j part ("1/2" 2 ... "9/2" 10), else -1.
int relAngularMomentumZNumbers(const std::string& name);
// The number of fermionic states of the shell.  A name that is neither kind
// prints a line and gives -1.
int orbToMultiplicity(const std::string& name);
bool isRelOrbital(const std::string& name);
// The name without its j part and the blanks beside it; a name without a
// j part comes back as it is.
std::string cutRelPart(const std::string& name);
// The relativistic quantum number: -(j+1/2) for j = l+1/2, j+1/2 for
// j = l-1/2.  0 with a warning when the name has no j part or no shell
// letter before it.
int kappa(const std::string& name);

// Relativistic names lose their j part, the two partners of one shell giving
// one entry at the place of the first; other names stay.
std::vector<std::string> relToNonRelOrbs(const std::vector<std::string>& names);
// Non-relativistic names become their relativistic partners: an s shell gets
// "1/2" appended, any other shell the names with (2l-1)/2 and (2l+1)/2 in
// this order.  Relativistic names, and names that are neither kind, stay.
std::vector<std::string> nonRelToRelOrbs(const std::vector<std::string>& names);
// The same names in an order in which the relativistic partners of one shell
// stand next to each other, the lower j first, at the place of the first of
// them.  Returns 0, or 1 when a name is neither kind (grouped untouched).
int groupedRelOrbitals(const std::vector<std::string>& names, std::vector<std::string>* grouped);
// True when both names name the same shell once the j parts are cut off.
bool QOrbsBelongTogether(const std::string& a, const std::string& b);
// True when some name of oldNames is missing from newNames and belongs
// together with a name of newNames of the other kind.
bool QChangeFromRelToNonRel(const std::vector<std::string>& oldNames,
                            const std::vector<std::string>& newNames);

// Shell letters: "s"/"S" 0 ... "f"/"F" 3, anything else all ones.
unsigned ShellNameToL(char letter);
// 0 "s", 1 "p", 2 "d", 3 "f", anything else "x".
char LToShellName(int l);
// A new 16-byte malloc'ed label of the real orbital (l, m) in plotting
// notation ("p_x", "d_{xy}", ... up to f), "?" for any other pair.  The
// caller frees *out.  Returns 0, or 1 when the allocation fails.
int LMToOrbitalName(int l, int m, char** out);
// The atomic number of an element symbol ("H" 1 ... "Cn" 112, case counts),
// 0 for anything else.
int AtomNameToNumber(const char* symbol);
// up[l+m] for sigma > 0, else down[l+m].
int lmsigmaToIndex(int l, int m, int sigma, const int* upIndices, const int* downIndices);

#endif
