// Gauss-Legendre rules of 1 to Quadrature::kMaxKnots knots, computed in the
// constructor.
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "numeric/quadrature.h"

namespace {

[[noreturn]] void Report(const char* message) {
    printf("%s\n", message);
    throw std::invalid_argument(message);
}

size_t RuleOffset(unsigned int n) { return (size_t)n * (n - 1) / 2; }

// P_n(x) and its derivative by the three-term recurrence, in extended
// precision so that the knots come out correct to the last bit of a double.
void Legendre(unsigned int n, long double x, long double* p, long double* dp) {
    long double p0 = 1.0L;
    long double p1 = x;
    for (unsigned int k = 2; k <= n; k++) {
        long double p2 = ((2.0L * k - 1.0L) * x * p1 - (k - 1.0L) * p0) / k;
        p0 = p1;
        p1 = p2;
    }
    *p = p1;
    *dp = n * (x * p1 - p0) / (x * x - 1.0L);
}

}  // namespace

const unsigned int Quadrature::kMaxKnots;

Quadrature::Quadrature() : knots_(RuleOffset(kMaxKnots + 1)), weights_(RuleOffset(kMaxKnots + 1)) {
    const long double pi = 3.141592653589793238462643383279502884L;
    knots_[0] = 0.0;
    weights_[0] = 2.0;
    for (unsigned int n = 2; n <= kMaxKnots; n++) {
        double* x = knots_.data() + RuleOffset(n);
        double* w = weights_.data() + RuleOffset(n);
        // The roots come in pairs +-x; Newton from the classic cosine guess
        // finds the non-negative one of pair i, i = 0 being the largest.
        for (unsigned int i = 0; i < (n + 1) / 2; i++) {
            long double r = cosl(pi * (i + 0.75L) / (n + 0.5L));
            long double p = 0.0L;
            long double dp = 1.0L;
            for (int iteration = 0; iteration < 100; iteration++) {
                Legendre(n, r, &p, &dp);
                long double step = p / dp;
                r -= step;
                if (fabsl(step) < 1e-19L) break;
            }
            if (2 * i + 1 == n) r = 0.0L;  // the middle knot of an odd rule
            Legendre(n, r, &p, &dp);
            long double weight = 2.0L / ((1.0L - r * r) * dp * dp);
            x[i] = (double)-r;
            x[n - 1 - i] = (double)r;
            w[i] = w[n - 1 - i] = (double)weight;
        }
    }
}

std::vector<double> Quadrature::GetKnots(unsigned int numberOfKnots) const {
    if (numberOfKnots < 1 || numberOfKnots > kMaxKnots) {
        Report("error: in Quadrature::GetKnots: numberOfKnots too big or smaller than 1");
    }
    const double* first = knots_.data() + RuleOffset(numberOfKnots);
    return std::vector<double>(first, first + numberOfKnots);
}

std::vector<double> Quadrature::GetKnots(unsigned int numberOfKnots, double a, double b) const {
    std::vector<double> x = GetKnots(numberOfKnots);
    for (double& t : x) t = 0.5 * (a + b) + 0.5 * (b - a) * t;
    return x;
}

std::vector<double> Quadrature::GetWeights(unsigned int numberOfKnots) const {
    if (numberOfKnots < 1 || numberOfKnots > kMaxKnots) {
        Report("error: in Quadrature::GetWeights: numberOfKnots too big or smaller than 1");
    }
    const double* first = weights_.data() + RuleOffset(numberOfKnots);
    return std::vector<double>(first, first + numberOfKnots);
}

std::vector<double> Quadrature::GetWeights(unsigned int numberOfKnots, double a, double b) const {
    std::vector<double> w = GetWeights(numberOfKnots);
    for (double& v : w) v *= 0.5 * (b - a);
    return w;
}

double Quadrature::Integrate(const std::function<double(double)>& f, unsigned int numberOfKnots, double a,
                             double b) const {
    if (numberOfKnots > kMaxKnots) Report("error: in Quadrature::Integrate: numberOfKnots too big");
    const double* x = knots_.data() + RuleOffset(numberOfKnots);
    const double* w = weights_.data() + RuleOffset(numberOfKnots);
    double mid = 0.5 * (a + b);
    double half = 0.5 * (b - a);
    double sum = 0.0;
    for (unsigned int k = 0; k < numberOfKnots; k++) sum += w[k] * f(mid + half * x[k]);
    return half * sum;
}
