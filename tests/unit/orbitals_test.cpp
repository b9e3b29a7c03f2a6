#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "atomic/basis.h"
#include "atomic/orbitals.h"

namespace {

typedef std::vector<std::string> Names;

std::string Captured(const std::function<void()>& f) {
    testing::internal::CaptureStdout();
    f();
    return testing::internal::GetCapturedStdout();
}

void ExpectIdentity(const BasisMatrixType& M, double tol) {
    ASSERT_EQ(M.Ni, M.Nj);
    for (int i = 0; i < M.Ni; i++) {
        for (int j = 0; j < M.Nj; j++) {
            EXPECT_NEAR(BasisMatrixAt(M, i, j).re, i == j ? 1.0 : 0.0, tol) << i << "," << j;
            EXPECT_NEAR(BasisMatrixAt(M, i, j).im, 0.0, tol);
        }
    }
}

}  // namespace

TEST(OrbitalNames, ShellsAndJParts) {
    EXPECT_EQ(nonRelAngularMomentumZNumbers("Ni_3d"), 5);
    EXPECT_EQ(nonRelAngularMomentumZNumbers("dd"), 5);
    EXPECT_EQ(nonRelAngularMomentumZNumbers("1s"), 1);
    EXPECT_EQ(nonRelAngularMomentumZNumbers("5h"), 11);
    EXPECT_EQ(nonRelAngularMomentumZNumbers("3D"), -1);
    EXPECT_EQ(nonRelAngularMomentumZNumbers(""), -1);
    EXPECT_EQ(relAngularMomentumZNumbers("Ni_3d3/2"), 4);
    EXPECT_EQ(relAngularMomentumZNumbers("3d 5 / 2 \t"), 6);
    EXPECT_EQ(relAngularMomentumZNumbers("4f7\t/2"), 8);
    EXPECT_EQ(relAngularMomentumZNumbers("x9/2"), 10);
    EXPECT_EQ(relAngularMomentumZNumbers("3d4/2"), -1);
    EXPECT_EQ(relAngularMomentumZNumbers("3d"), -1);
    EXPECT_EQ(relAngularMomentumZNumbers("/2"), -1);
    EXPECT_EQ(orbToMultiplicity("2p"), 6);
    EXPECT_EQ(orbToMultiplicity("2p3/2"), 4);
    EXPECT_TRUE(isRelOrbital("2p1/2"));
    EXPECT_FALSE(isRelOrbital("2p"));
    EXPECT_EQ(cutRelPart("Ni_3d 5/2 "), "Ni_3d");
    EXPECT_EQ(cutRelPart("3d"), "3d");
    int m = 0;
    EXPECT_EQ(Captured([&] { m = orbToMultiplicity("3x"); }),
              "\nCould not interpret orbital \"3x\" as either relativistic or non-relativistic atomic "
              "orbital, returning -1");
    EXPECT_EQ(m, -1);
}

TEST(OrbitalNames, Kappa) {
    EXPECT_EQ(kappa("2p3/2"), -2);
    EXPECT_EQ(kappa("2p1/2"), 1);
    EXPECT_EQ(kappa("1s1/2"), -1);
    EXPECT_EQ(kappa("3d5/2"), -3);
    EXPECT_EQ(kappa("3d3/2"), 2);
    int k = 1;
    EXPECT_EQ(Captured([&] { k = kappa("3d"); }),
              "\nWarning: Key \"3d\" could not be interpreted as a relativistic orbital, kappa is set to 0.\n");
    EXPECT_EQ(k, 0);
    EXPECT_EQ(Captured([&] { k = kappa("3x3/2"); }),
              "\nWarning: Remainder of key \"3x3/2\" could not be interpreted as a non-relativistic orbital, "
              "kappa is set to 0.\n");
    EXPECT_EQ(k, 0);
}

TEST(OrbitalNames, ListConversions) {
    EXPECT_EQ(relToNonRelOrbs({"3d3/2", "4s", "3d5/2", "2p1/2", "2p3/2"}), (Names{"3d", "4s", "2p"}));
    EXPECT_EQ(nonRelToRelOrbs({"3d", "4s", "2p3/2", "1p"}),
              (Names{"3d3/2", "3d5/2", "4s1/2", "2p3/2", "1p1/2", "1p3/2"}));
    Names g;
    EXPECT_EQ(groupedRelOrbitals({"3d5/2", "4s", "2p", "3d3/2"}, &g), 0);
    EXPECT_EQ(g, (Names{"3d3/2", "3d5/2", "4s", "2p"}));
    testing::internal::CaptureStdout();
    EXPECT_EQ(groupedRelOrbitals({"3d", "nonsense"}, &g), 1);
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(QOrbsBelongTogether("3d", "3d5/2"));
    EXPECT_TRUE(QOrbsBelongTogether("3d3/2", "3d5/2"));
    EXPECT_FALSE(QOrbsBelongTogether("3d", "4d5/2"));
    EXPECT_TRUE(QChangeFromRelToNonRel({"3d"}, {"3d3/2", "3d5/2"}));
    EXPECT_TRUE(QChangeFromRelToNonRel({"3d5/2", "3d3/2"}, {"3d"}));
    EXPECT_FALSE(QChangeFromRelToNonRel({"3d", "4s"}, {"4s", "3d"}));
    EXPECT_FALSE(QChangeFromRelToNonRel({"3d3/2", "3d5/2"}, {"3d5/2", "3d3/2"}));
}

TEST(OrbitalNames, LettersLabelsAndElements) {
    EXPECT_EQ(ShellNameToL('S'), 0u);
    EXPECT_EQ(ShellNameToL('d'), 2u);
    EXPECT_EQ(ShellNameToL('F'), 3u);
    EXPECT_EQ(ShellNameToL('g'), ~0u);
    EXPECT_EQ(LToShellName(1), 'p');
    EXPECT_EQ(LToShellName(4), 'x');
    const struct {
        int l, m;
        const char* label;
    } labels[] = {{0, 0, "s"}, {1, -1, "p_y"}, {1, 1, "p_x"}, {2, 0, "d_{3z^2-r^2}"},
                  {2, 2, "d_{x^2-y^2}"}, {3, -2, "f_{xyz}"}, {3, 3, "f_{x^3-3xy^2}"}, {4, 0, "?"}};
    for (const auto& e : labels) {
        char* s = nullptr;
        ASSERT_EQ(LMToOrbitalName(e.l, e.m, &s), 0);
        EXPECT_STREQ(s, e.label);
        free(s);
    }
    EXPECT_EQ(AtomNameToNumber("H"), 1);
    EXPECT_EQ(AtomNameToNumber("Ni"), 28);
    EXPECT_EQ(AtomNameToNumber("Cn"), 112);
    EXPECT_EQ(AtomNameToNumber("ni"), 0);
    EXPECT_EQ(AtomNameToNumber("Xx"), 0);
    const int up[] = {1, 3, 5}, down[] = {0, 2, 4};
    EXPECT_EQ(lmsigmaToIndex(1, 1, 1, up, down), 5);
    EXPECT_EQ(lmsigmaToIndex(1, -1, -1, up, down), 0);
}

TEST(OrbitalRotation, PermutationsOfShells) {
    ExpectIdentity(OrbitalRotationMatrix({"3d", "4s"}, {"3d", "4s"}), 0);
    BasisMatrixType P = OrbitalRotationMatrix({"3d", "4s"}, {"4s", "3d"});
    ASSERT_EQ(P.Ni, 12);
    for (int i = 0; i < 12; i++) {
        int col = i < 2 ? 10 + i : i - 2;
        for (int j = 0; j < 12; j++) EXPECT_EQ(BasisMatrixAt(P, i, j).re, j == col ? 1.0 : 0.0);
    }
}

TEST(OrbitalRotation, RelativisticShells) {
    BasisMatrixType toRel = OrbitalRotationMatrix({"3d"}, {"3d3/2", "3d5/2"});
    BasisMatrixType table = YToJJzMatrix(10);
    ASSERT_EQ(toRel.Ni, 10);
    for (size_t k = 0; k < table.a.size(); k++) EXPECT_NEAR(toRel.a[k].re, table.a[k].re, 1e-16);
    // Partners in the other order: the rows follow the new list.
    BasisMatrixType swapped = OrbitalRotationMatrix({"3d"}, {"3d5/2", "3d3/2"});
    for (int i = 0; i < 10; i++) {
        int from = i < 6 ? 4 + i : i - 6;
        for (int j = 0; j < 10; j++) {
            EXPECT_NEAR(BasisMatrixAt(swapped, i, j).re, BasisMatrixAt(table, from, j).re, 1e-16);
        }
    }
    // Back and forth through a mixed list gives the identity.
    Names a{"2p", "3d5/2", "4s", "3d3/2"}, b{"2p1/2", "3d", "4s1/2", "2p3/2"};
    BasisMatrixType ab = OrbitalRotationMatrix(a, b), ba = OrbitalRotationMatrix(b, a);
    ASSERT_EQ(ab.Ni, 18);
    ExpectIdentity(BasisMatrixMultiply(ba, ab), 1e-15);
    // An f shell goes beyond the tables.
    BasisMatrixType f = OrbitalRotationMatrix({"4f"}, {"4f5/2", "4f7/2"});
    BasisMatrixType fRule;
    BasisYToJJz(3, &fRule);
    ASSERT_EQ(f.Ni, 14);
    for (size_t k = 0; k < f.a.size(); k++) EXPECT_NEAR(f.a[k].re, fRule.a[k].re, 1e-15);
    // Entries that are rounding noise are chopped to zero.
    for (const Complex16& z : ab.a) {
        EXPECT_TRUE(z.re == 0.0 || std::fabs(z.re) >= 2.220446049250313e-15);
    }
}

TEST(OrbitalRotation, Failures) {
    struct Case {
        Names oldNames, newNames;
        const char* message;
    } cases[] = {
        {{"3d", "3d"}, {"3d", "4s"},
         "Error: RotationMatrix called with identical entries in the list of old orbitals.\n"},
        {{"3d", "4s"}, {"4s", "4s"},
         "Error: RotationMatrix called with identical entries in the list of new orbitals.\n"},
        {{"3d"}, {"4p"},
         "Error in RotationMatrix: Old and new orbitals must have the same number of fermionic states.\n"},
        {{"3d"}, {"3d5/2", "4p1/2", "4p1/2 "},
         "Error in NonRelToRelRotationMatrix: Could not connect \"3d\" with \"4p1/2\n"
         "Error in RotationMatrix: Rotation from relativistic to non-relativistic orbitals or vice versa "
         "failed.\n"},
        {{"3d"}, {"4d"}, "Error in RotationMatrix: Permutation of orbitals failed.\n"},
    };
    for (const Case& c : cases) {
        BasisMatrixType M;
        EXPECT_EQ(Captured([&] { M = OrbitalRotationMatrix(c.oldNames, c.newNames); }), c.message);
        EXPECT_EQ(M.Ni, 0);
        EXPECT_EQ(M.Nj, 0);
    }
}

TEST(OrbitalRotation, NonRelToRelFailures) {
    BasisMatrixType M{1, 1, {}};
    EXPECT_EQ(Captured([&] { M = NonRelToRelRotationMatrix({"3d5/2"}, {"3d5/2"}); }),
              "Error in NonRelToRelRotationMatrix: Encountered relativistic orbital \"3d5/2\" in list of "
              "non-relativistic orbitals.\n");
    EXPECT_EQ(M.Ni, 0);
    EXPECT_EQ(Captured([&] { M = NonRelToRelRotationMatrix({"3d"}, {"4d3/2", "4d5/2"}); }),
              "Error in NonRelToRelRotationMatrix: Could not connect \"3d\" with \"4d3/2\n");
    EXPECT_EQ(Captured([&] { M = NonRelToRelRotationMatrix({"4s"}, {"3s1/2"}); }),
              "Error in NonRelToRelRotationMatrix: Could not connect \"4s\" with \"3s1/2\n");
    EXPECT_EQ(Captured([&] { M = NonRelToRelRotationMatrix({"3d"}, {"3d3/2"}); }),
              "Error in NonRelToRelRotationMatrix: List of new orbitals is missing the second entry "
              "belonging to \"3d\n");
    EXPECT_EQ(M.Ni, 0);
    BasisMatrixType rel = RelToNonRelRotationMatrix({"4s1/2", "3d3/2", "3d5/2"}, {"4s", "3d"});
    EXPECT_EQ(rel.Ni, 12);
}
