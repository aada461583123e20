#pragma once

#include <complex>
#include <span>
#include <vector>

namespace velloria
{

/// Carries an analogue filter over to a sampled one without cramping it towards half the sample rate. The
/// squared magnitude of the former is a quotient of polynomials in W^2, that of the latter in
/// x = sin^2(W / 2), W in radians a frame. In between stands W^2 = (2 asin(sqrt(x)))^2, for which a quotient
/// of polynomials is put that hardly differs from it up to 0.46 of the sample rate: 7 % at order 1 (0.0003
/// for low frequencies), 0.4 % at 2, 0.02 % at 3, 0.001 % at 4. Order 1 is of the kind of the bilinear
/// transform.
class FrequencyWarp
{
public:
    using Root = std::complex<double>;
    static constexpr int kMostOrder = 4;

    /// `order` from 1 on; each root of the analogue filter becomes so many. Exact at `w` radians a frame,
    /// which is below 0.46 of a turn.
    FrequencyWarp(int order, double w);

    int order() const { return mOrder; }
    /// Where W^2 has this value: places in the plane of z, all of them within the unit circle or on it.
    std::vector<Root> places(Root square) const;
    /// Where it is infinite.
    std::vector<Root> placesOfInfinity() const;

private:
    int mOrder;
    double mScale = 1.0;
};

} // namespace velloria
