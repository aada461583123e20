#include "effects/filters/FrequencyWarp.h"

#include <array>
#include <cmath>

namespace velloria
{

namespace
{

using Root = FrequencyWarp::Root;
using Polynomial = std::vector<Root>; ///< lowest power first

/// W^2 is 4 x upper(x) / lower(x).
struct Quotient {
    std::vector<double> upper;
    std::vector<double> lower;
};

/// The first is Padé's, because what is of order 1 serves low frequencies; the others have the least relative
/// error that is possible for x up to sin^2(0.46 pi), by the exchange algorithm of Remez. None has a zero or
/// pole on [0, 1] besides that at 0.
const Quotient& quotient(int order)
{
    static const std::array<Quotient, FrequencyWarp::kMostOrder> quotients = {{
        {{1.0}, {1.0, -1.0 / 3.0}},
        {{0.9961345726792394, -0.8612936567026755}, {1.0, -1.2324750485035794, 0.2924299995708324}},
        {{0.9997760993818469, -1.6053878638368806, 0.6186627500630232},
         {1.0, -1.9431786770960735, 1.1051343914965734, -0.15633504306976148}},
        {{0.9999870483844139, -2.3228110420913866, 1.722852157516278, -0.3989275375264457},
         {1.0, -2.6565764471532947, 2.4333690187661086, -0.8587149477612283, 0.08238906819141832}},
    }};
    return quotients.at(static_cast<size_t>(order - 1));
}

template <typename Coefficients> Root valueAt(const Coefficients& polynomial, Root x)
{
    Root value = 0.0;
    for (size_t i = polynomial.size(); i-- > 0;)
        value = value * x + polynomial[i];
    return value;
}

Root slopeAt(const Polynomial& polynomial, Root x)
{
    Root value = 0.0;
    for (size_t i = polynomial.size(); i-- > 1;)
        value = value * x + polynomial[i] * static_cast<double>(i);
    return value;
}

/// All at once by the method of Durand and Kerner, then each by Newton's, which gives small roots all digits.
std::vector<Root> rootsOf(const Polynomial& polynomial)
{
    constexpr int numRounds = 100;
    constexpr double smallStep = 1e-14;
    std::vector<Root> roots(polynomial.size() - 1);
    for (size_t i = 0; i < roots.size(); ++i)
        roots[i] = std::pow(Root(0.4, 0.9), static_cast<double>(i));
    for (int round = 0; round < numRounds; ++round) {
        double largest = 0.0;
        for (size_t i = 0; i < roots.size(); ++i) {
            Root divisor = polynomial.back();
            for (size_t other = 0; other < roots.size(); ++other)
                if (other != i)
                    divisor *= roots[i] - roots[other];
            const Root step = valueAt(polynomial, roots[i]) / divisor;
            roots[i] -= step;
            largest = std::max(largest, std::abs(step) / (std::abs(roots[i]) + 1e-30));
        }
        if (largest < smallStep)
            break;
    }
    for (Root& root : roots)
        for (int i = 0; i < 2; ++i)
            if (const Root slope = slopeAt(polynomial, root); slope != 0.0)
                root -= valueAt(polynomial, root) / slope;
    return roots;
}

/// x = (2 - z - 1/z) / 4 has two solutions, of which one is the other's inverse.
Root placeOf(Root x)
{
    const Root middle = 1.0 - 2.0 * x;
    const Root away = 2.0 * std::sqrt(x * (x - 1.0));
    const Root first = middle - away;
    const Root second = middle + away;
    return std::abs(first) <= std::abs(second) ? first : second;
}

std::vector<Root> placesOf(const std::vector<Root>& roots)
{
    std::vector<Root> places;
    places.reserve(roots.size());
    for (const Root root : roots)
        places.push_back(placeOf(root));
    return places;
}

Polynomial asPolynomial(const std::vector<double>& coefficients)
{
    return {coefficients.begin(), coefficients.end()};
}

} // namespace

FrequencyWarp::FrequencyWarp(int order, double w)
    : mOrder(order)
{
    const double x = std::pow(std::sin(0.5 * w), 2.0);
    const Quotient& used = quotient(order);
    if (x > 0.0)
        mScale = w * w / (4.0 * x * valueAt(used.upper, x).real() / valueAt(used.lower, x).real());
}

std::vector<FrequencyWarp::Root> FrequencyWarp::places(Root square) const
{
    const Quotient& used = quotient(mOrder);
    if (square == 0.0) {
        std::vector<Root> found = placesOf(rootsOf(asPolynomial(used.upper)));
        found.insert(found.begin(), 1.0);
        return found;
    }
    Polynomial polynomial = asPolynomial(used.lower);
    for (Root& coefficient : polynomial)
        coefficient *= -square / mScale;
    for (size_t i = 0; i < used.upper.size(); ++i)
        polynomial[i + 1] += 4.0 * used.upper[i];
    return placesOf(rootsOf(polynomial));
}

std::vector<FrequencyWarp::Root> FrequencyWarp::placesOfInfinity() const
{
    return placesOf(rootsOf(asPolynomial(quotient(mOrder).lower)));
}

} // namespace velloria
