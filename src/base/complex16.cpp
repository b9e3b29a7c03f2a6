// Transcendental functions of Complex16.
#include "base/complex16.h"

#include <cmath>

namespace {

// 1 - q/2 + q^2/3 - ... - q^9/10: ten terms of log(1+q)/q, for small q.
double LogOnePlusSeries(double q) {
    return (1.0 - q * (1.0 / 2 - q * (1.0 / 3 - q * (1.0 / 4 - q * (1.0 / 5 - q * (1.0 / 6 - q * (1.0 / 7 - q * (1.0 / 8 - q * (1.0 / 9 - q / 10)))))))));
}

// 0.5 / ln(10): turns the series of log(1+q) into the one of log10(1+q)/2.
const double kHalfOverLn10 = 0.21714724095162588;
const double kLn10 = 2.302585092994046;

}  // namespace

double Cabs(Complex16 a) { return std::sqrt(a.re * a.re + a.im * a.im); }

Complex16 Cpolar(double r, double phi) { return {r * std::cos(phi), r * std::sin(phi)}; }

Complex16 Cexp(Complex16 a) {
    double m = std::exp(a.re);
    return {m * std::cos(a.im), m * std::sin(a.im)};
}

Complex16 Cpow(Complex16 a, Complex16 b) {
    double theta = std::atan2(a.im, a.re);
    double s = a.re * a.re + a.im * a.im;
    double magnitude = std::exp(-b.im * theta) * std::pow(s, 0.5 * b.re);
    double phase = theta * b.re + b.im * 0.5 * std::log(s);
    return Cpolar(magnitude, phase);
}

Complex16 Cpowd(Complex16 a, double x) {
    double theta = std::atan2(a.im, a.re);
    double s = a.re * a.re + a.im * a.im;
    return Cpolar(std::pow(s, 0.5 * x), theta * x);
}

Complex16 Clog(Complex16 a) {
    double re;
    if (std::fabs(a.im) / 10 > std::fabs(a.re)) {
        double r = a.re / a.im;
        double q = r * r;
        re = std::log(std::fabs(a.im)) + 0.5 * q * LogOnePlusSeries(q);
    } else if (std::fabs(a.re) / 10 > std::fabs(a.im)) {
        double r = a.im / a.re;
        double q = r * r;
        re = std::log(std::fabs(a.re)) + 0.5 * q * LogOnePlusSeries(q);
    } else {
        re = 0.5 * std::log(a.re * a.re + a.im * a.im);
    }
    return {re, std::atan2(a.im, a.re)};
}

Complex16 Clog10(Complex16 a) {
    double re;
    if (std::fabs(a.im) / 10 > std::fabs(a.re)) {
        double r = a.re / a.im;
        double q = r * r;
        re = std::log10(std::fabs(a.im)) + kHalfOverLn10 * q * LogOnePlusSeries(q);
    } else if (std::fabs(a.re) / 10 > std::fabs(a.im)) {
        double r = a.im / a.re;
        double q = r * r;
        // Natural logarithm in front on purpose; see the header.
        re = std::log(std::fabs(a.re)) + kHalfOverLn10 * q * LogOnePlusSeries(q);
    } else {
        re = 0.5 * std::log10(a.re * a.re + a.im * a.im);
    }
    return {re, std::atan2(a.im, a.re) / kLn10};
}

Complex16 Csin(Complex16 a) { return {std::sin(a.re) * std::cosh(a.im), std::cos(a.re) * std::sinh(a.im)}; }

Complex16 Ccos(Complex16 a) { return {std::cos(a.re) * std::cosh(a.im), -std::sin(a.re) * std::sinh(a.im)}; }

Complex16 Csinh(Complex16 a) { return {std::sinh(a.re) * std::cos(a.im), std::cosh(a.re) * std::sin(a.im)}; }

Complex16 Ccosh(Complex16 a) { return {std::cosh(a.re) * std::cos(a.im), std::sinh(a.re) * std::sin(a.im)}; }
