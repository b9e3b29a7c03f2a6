// Reading shells and j parts from orbital names, and the list conversions
// between relativistic and non-relativistic orbitals.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "atomic/orbitals.h"

namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// The j part of a name: [start, end) of the j text with the blanks around
// it, and 2j+1.  Returns false when the name has no j part.
bool FindRelPart(const std::string& name, size_t* start, int* multiplicity) {
    size_t i = name.size();
    while (i > 0 && IsBlank(name[i - 1])) i--;
    if (i == 0 || name[i - 1] != '2') return false;
    i--;
    bool slash = false;
    while (i > 0 && (name[i - 1] == '/' || IsBlank(name[i - 1]))) {
        if (name[i - 1] == '/') slash = true;
        i--;
    }
    if (!slash || i == 0) return false;
    char d = name[i - 1];
    if (d != '1' && d != '3' && d != '5' && d != '7' && d != '9') return false;
    i--;
    while (i > 0 && IsBlank(name[i - 1])) i--;
    *start = i;
    *multiplicity = d - '0' + 1;
    return true;
}

}  // namespace

int nonRelAngularMomentumZNumbers(const std::string& name) {
    if (name.empty()) return -1;
    switch (name.back()) {
    case 's': return 1;
    case 'p': return 3;
    case 'd': return 5;
    case 'f': return 7;
    case 'g': return 9;
    case 'h': return 11;
    default: return -1;
    }
}

int relAngularMomentumZNumbers(const std::string& name) {
    size_t start = 0;
    int n = 0;
    return FindRelPart(name, &start, &n) ? n : -1;
}

int orbToMultiplicity(const std::string& name) {
    int n = nonRelAngularMomentumZNumbers(name);
    if (n >= 0) return 2 * n;
    n = relAngularMomentumZNumbers(name);
    if (n < 0) {
        printf("\nCould not interpret orbital \"%s\" as either relativistic or non-relativistic "
               "atomic orbital, returning %d",
               name.c_str(), n);
    }
    return n;
}

bool isRelOrbital(const std::string& name) { return relAngularMomentumZNumbers(name) > 0; }

std::string cutRelPart(const std::string& name) {
    size_t start = 0;
    int n = 0;
    if (!FindRelPart(name, &start, &n)) return name;
    return name.substr(0, start);
}

int kappa(const std::string& name) {
    int n = relAngularMomentumZNumbers(name);
    if (n <= 0) {
        printf("\nWarning: Key \"%s\" could not be interpreted as a relativistic orbital, kappa is "
               "set to 0.\n",
               name.c_str());
        return 0;
    }
    int p = nonRelAngularMomentumZNumbers(cutRelPart(name));
    if (p < 0) {
        printf("\nWarning: Remainder of key \"%s\" could not be interpreted as a non-relativistic "
               "orbital, kappa is set to 0.\n",
               name.c_str());
        return 0;
    }
    return p < n ? -n / 2 : n / 2;
}

bool QOrbsBelongTogether(const std::string& a, const std::string& b) {
    std::string ca = cutRelPart(a), cb = cutRelPart(b);
    return ca == cb && nonRelAngularMomentumZNumbers(ca) > 0;
}

std::vector<std::string> relToNonRelOrbs(const std::vector<std::string>& names) {
    std::vector<std::string> out;
    std::vector<std::string> fromRel;  // shells already given by a j partner
    for (const std::string& name : names) {
        if (!isRelOrbital(name)) {
            out.push_back(name);
            continue;
        }
        std::string shell = cutRelPart(name);
        bool seen = false;
        for (const std::string& s : fromRel) seen = seen || s == shell;
        if (seen) continue;
        fromRel.push_back(shell);
        out.push_back(shell);
    }
    return out;
}

std::vector<std::string> nonRelToRelOrbs(const std::vector<std::string>& names) {
    std::vector<std::string> out;
    for (const std::string& name : names) {
        if (isRelOrbital(name)) {
            out.push_back(name);
            continue;
        }
        int p = nonRelAngularMomentumZNumbers(name);  // 2l+1
        if (p < 0) {
            out.push_back(name);
        } else if (p == 1) {
            out.push_back(name + "1/2");
        } else {
            out.push_back(name + std::to_string(p - 2) + "/2");
            out.push_back(name + std::to_string(p) + "/2");
        }
    }
    return out;
}

int groupedRelOrbitals(const std::vector<std::string>& names, std::vector<std::string>* grouped) {
    grouped->clear();
    std::vector<bool> placed(names.size(), false);
    int status = 0;
    for (size_t i = 0; i < names.size(); i++) {
        if (placed[i]) continue;
        placed[i] = true;
        if (orbToMultiplicity(names[i]) < 0) status = 1;
        if (!isRelOrbital(names[i])) {
            grouped->push_back(names[i]);
            continue;
        }
        // The first relativistic partner of the same shell further down.
        size_t partner = names.size();
        for (size_t k = i + 1; k < names.size() && partner == names.size(); k++) {
            if (!placed[k] && isRelOrbital(names[k]) && QOrbsBelongTogether(names[i], names[k]) &&
                names[k] != names[i]) {
                partner = k;
            }
        }
        if (partner == names.size()) {
            grouped->push_back(names[i]);
            continue;
        }
        placed[partner] = true;
        if (relAngularMomentumZNumbers(names[partner]) < relAngularMomentumZNumbers(names[i])) {
            grouped->push_back(names[partner]);
            grouped->push_back(names[i]);
        } else {
            grouped->push_back(names[i]);
            grouped->push_back(names[partner]);
        }
    }
    return status;
}

bool QChangeFromRelToNonRel(const std::vector<std::string>& oldNames,
                            const std::vector<std::string>& newNames) {
    for (const std::string& o : oldNames) {
        bool present = false;
        for (const std::string& n : newNames) present = present || n == o;
        if (present) continue;
        for (const std::string& n : newNames) {
            if (isRelOrbital(n) != isRelOrbital(o) && QOrbsBelongTogether(o, n)) return true;
        }
    }
    return false;
}

unsigned ShellNameToL(char letter) {
    switch (letter) {
    case 's': case 'S': return 0;
    case 'p': case 'P': return 1;
    case 'd': case 'D': return 2;
    case 'f': case 'F': return 3;
    default: return ~0u;
    }
}

char LToShellName(int l) {
    switch (l) {
    case 0: return 's';
    case 1: return 'p';
    case 2: return 'd';
    case 3: return 'f';
    default: return 'x';
    }
}

int LMToOrbitalName(int l, int m, char** out) {
    static const char* const labels[16] = {
        "s",         "p_y",          "p_z",           "p_x",
        "d_{xy}",    "d_{yz}",       "d_{3z^2-r^2}",  "d_{xz}",
        "d_{x^2-y^2}", "f_{y^3-3x^2y}", "f_{xyz}",     "f_{5z^2y-yr^2}",
        "f_{5z^3-3zr^2}", "f_{5z^2x-xr^2}", "f_{x^2z-y^2z}", "f_{x^3-3xy^2}"};
    char* s = static_cast<char*>(malloc(16));
    if (s == nullptr) {
        printf("Allocation failed in LMToOrbitalName\n");
        *out = nullptr;
        return 1;
    }
    int index = l * (l + 1) + m;
    strcpy(s, index >= 0 && index < 16 ? labels[index] : "?");
    *out = s;
    return 0;
}

int lmsigmaToIndex(int l, int m, int sigma, const int* upIndices, const int* downIndices) {
    return sigma > 0 ? upIndices[l + m] : downIndices[l + m];
}
