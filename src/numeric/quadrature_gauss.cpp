// The built-in Gauss-Legendre rules of 1 to 7 knots and the composite rule
// on a grid.
#include <cstdio>
#include <stdexcept>
#include <string>

#include "numeric/quadrature.h"

namespace {

// Rule n occupies the n entries from n (n - 1) / 2 on: knots ascending on
// [-1, 1], the weights in the same order.  Twenty-one digits each.
const double kKnots[] = {
    0.0,
    -5.77350269189625764509e-1, 5.77350269189625764509e-1,
    -7.74596669241483377036e-1, 0.0, 7.74596669241483377036e-1,
    -8.61136311594052575224e-1, -3.39981043584856264803e-1, 3.39981043584856264803e-1, 8.61136311594052575224e-1,
    -9.06179845938663992798e-1, -5.38469310105683091036e-1, 0.0, 5.38469310105683091036e-1,
    9.06179845938663992798e-1,
    -9.32469514203152027812e-1, -6.61209386466264513661e-1, -2.38619186083196908631e-1,
    2.38619186083196908631e-1, 6.61209386466264513661e-1, 9.32469514203152027812e-1,
    -9.49107912342758524526e-1, -7.41531185599394439864e-1, -4.05845151377397166907e-1, 0.0,
    4.05845151377397166907e-1, 7.41531185599394439864e-1, 9.49107912342758524526e-1,
};

const double kWeights[] = {
    2.0,
    1.0, 1.0,
    5.55555555555555555556e-1, 8.88888888888888888889e-1, 5.55555555555555555556e-1,
    3.47854845137453857373e-1, 6.52145154862546142627e-1, 6.52145154862546142627e-1, 3.47854845137453857373e-1,
    2.36926885056189087514e-1, 4.78628670499366468041e-1, 5.68888888888888888889e-1, 4.78628670499366468041e-1,
    2.36926885056189087514e-1,
    1.71324492379170345040e-1, 3.60761573048138607570e-1, 4.67913934572691047390e-1,
    4.67913934572691047390e-1, 3.60761573048138607570e-1, 1.71324492379170345040e-1,
    1.29484966168869693271e-1, 2.79705391489276667901e-1, 3.81830050505118944950e-1, 4.17959183673469387755e-1,
    3.81830050505118944950e-1, 2.79705391489276667901e-1, 1.29484966168869693271e-1,
};

[[noreturn]] void Report(const std::string& line) {
    printf("%s", line.c_str());
    throw std::invalid_argument(line.substr(0, line.size() - 1));
}

void CheckRule(unsigned int n, const char* who) {
    if (n > Quad::kMaxKnots) {
        char line[128];
        snprintf(line, sizeof line, "error in GaussQuad::%s: max number of knots = 7; got %u\n", who, n);
        Report(line);
    }
}

std::vector<double> TableRule(const double* table, unsigned int n) {
    const double* first = table + n * (n - 1) / 2;
    return std::vector<double>(first, first + n);
}

}  // namespace

namespace Quad {

std::vector<double> GetKnots(unsigned int n) {
    CheckRule(n, "GetKnots");
    return TableRule(kKnots, n);
}

std::vector<double> GetWeights(unsigned int n) {
    CheckRule(n, "GetWeights");
    return TableRule(kWeights, n);
}

std::vector<double> GetKnots(unsigned int n, const std::vector<double>& grid) {
    std::vector<double> t = GetKnots(n);
    std::vector<double> knots;
    if (grid.size() < 2) return knots;
    knots.reserve(n * (grid.size() - 1));
    for (size_t i = 0; i + 1 < grid.size(); i++) {
        double mid = 0.5 * (grid[i] + grid[i + 1]);
        double half = 0.5 * (grid[i + 1] - grid[i]);
        for (double tk : t) knots.push_back(mid + half * tk);
    }
    return knots;
}

std::vector<double> GetWeights(unsigned int n, const std::vector<double>& grid) {
    std::vector<double> w = GetWeights(n);
    std::vector<double> weights;
    if (grid.size() < 2) return weights;
    weights.reserve(n * (grid.size() - 1));
    for (size_t i = 0; i + 1 < grid.size(); i++) {
        double half = 0.5 * (grid[i + 1] - grid[i]);
        for (double wk : w) weights.push_back(half * wk);
    }
    return weights;
}

double Integrate(const std::vector<double>& values, unsigned int n, const std::vector<double>& grid) {
    if (n > kMaxKnots) Report("error: in GaussQuad::Integrate: number of knots too big\n");
    size_t intervals = grid.size() < 2 ? 0 : grid.size() - 1;
    if (values.size() != n * intervals) {
        Report("error: in GaussQuad::Integrate: number of values does not match the knots of the grid\n");
    }
    const double* w = kWeights + n * (n - 1) / 2;
    double sum = 0.0;
    for (size_t i = 0; i < intervals; i++) {
        double part = 0.0;
        for (unsigned int k = 0; k < n; k++) part += w[k] * values[i * n + k];
        sum += 0.5 * (grid[i + 1] - grid[i]) * part;
    }
    return sum;
}

double Integrate(const std::function<double(double)>& f, unsigned int n, const std::vector<double>& grid) {
    if (n > kMaxKnots) Report("error: in GaussQuad::Integrate: number of knots too big\n");
    std::vector<double> values = GetKnots(n, grid);
    for (double& v : values) v = f(v);
    return Integrate(values, n, grid);
}

}  // namespace Quad
