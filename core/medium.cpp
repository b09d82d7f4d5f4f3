#include "core/medium.h"

#include "core/console.h"

namespace kavro {

void Medium::mexDebug() const {
    console::print("f0 (_f0): %f\n", _f0);
    console::print("fs (_fs): %f\n", _fs);
    console::print("soundspeed (_soundspeed): %f\n", _soundspeed);
    console::print("attenuation (_dBcmMHz): %f\n", _dBcmMHz);
    console::print("power law coefficient (_powerlawcoeff): %f\n", _powerlawcoeff);
    console::print("density (_rho_density): %f\n", _rho_density);
    console::print("specific heat(_ct): %f\n", _ct);
    console::print("blood perfusion (_wb): %f\n", _wb);
    console::print("power law exponent (_b): %f\n", _b);
    console::print("thermal conductivity (_kappa): %f\n", _kappa);
    console::print("nonlinearity param (_beta): %f\n", _beta);
}

}  // namespace kavro
