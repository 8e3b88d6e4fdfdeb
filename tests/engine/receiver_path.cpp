// receiver_path.cpp - the sum over transitions against time stepping with matrix products.

#include "engine_fixture.h"

#include "receiverlib.h"

#include <cmath>

using ReceiverPath = EngineTest;

namespace
{

CMatrix H, rho;

// Hermitian, every element set: what the receiver does not see must not show either.
void fill_density(std::mt19937 &random)
{
    std::normal_distribution<double> normal;
    for (int i = 1; i <= rt.n; i++)
        for (int j = i; j <= rt.n; j++) {
            const double re = normal(random), im = i == j ? 0.0 : normal(random);
            rho[i][j][COMPLEX_RE] = rho[j][i][COMPLEX_RE] = re;
            rho[i][j][COMPLEX_IM] = im;
            rho[j][i][COMPLEX_IM] = -im;
        }
}

// H = -(Izee + Icoup + 2·pi·offset·Iz), as the receiver has it
void receiver_hamiltonian(double offset_hz)
{
    CMatAdd(rt.n, &rt.Izee, &rt.Icoup, &H);
    CMatRMultAdd(rt.n, &H, -1.0, &rt.Iztot, -TWO_PI * offset_hz, &H);
}

void expect_agreement(int ap, double dt)
{
    std::vector<double> re((size_t)ap), im(re), plain_re(re), plain_im(re);
    ReceiverTrace(rt.n, ap, dt, &rho, &H, &rt.Ixtot, &rt.Iytot, re.data(), im.data());
    ReceiverTracePlain(rt.n, ap, dt, &rho, &H, &rt.Ixtot, &rt.Iytot, plain_re.data(),
                       plain_im.data());
    double largest = 0.0, error = 0.0;
    for (size_t k = 0; k < re.size(); k++) {
        largest = std::fmax(largest, std::hypot(plain_re[k], plain_im[k]));
        error = std::fmax(error, std::hypot(re[k] - plain_re[k], im[k] - plain_im[k]));
    }
    EXPECT_GT(largest, 0.0);
    EXPECT_LE(error, 1e-11 * largest) << "n=" << rt.n << " ap=" << ap << " dt=" << dt;
}

} // namespace

TEST_F(ReceiverPath, AgreesWithTimeStepping)
{
    std::mt19937 random(3001);
    for (const std::vector<int> &two_i :
         {std::vector<int>{1}, {3}, {1, 1}, {2, 1}, {1, 1, 1}, {1, 2, 1}, {1, 1, 1, 1, 1}})
        for (int coupling_mode : {1, 2}) {
            build_spins(random_spins(random, two_i, coupling_mode));
            fill_density(random);
            receiver_hamiltonian(30.0);
            for (int ap : {1, 2, 200})
                expect_agreement(ap, 1e-3);
        }
}

TEST_F(ReceiverPath, AgreesForEightSpins)
{
    std::mt19937 random(3002);
    build_spins(random_spins(random, {1, 1, 1, 1, 1, 1, 1, 1}, 2));
    fill_density(random);
    receiver_hamiltonian(-10.0);
    expect_agreement(3, 1e-3);
}

TEST_F(ReceiverPath, LeavesAComplexHamiltonianToTheRecipe)
{
    std::mt19937 random(3003);
    build_spins(random_spins(random, {1, 1}, 2));
    fill_density(random);
    receiver_hamiltonian(0.0);
    CMatRMultAdd(rt.n, &H, 1.0, &rt.Iytot, 300.0, &H);
    expect_agreement(20, 1e-3);
}
