// The physical constants of the propagation medium.
#pragma once

namespace kavro {

// A plain value; elements read it through a pointer and never change it.
class Medium {
public:
    double _f0 = 0.0;             // centre frequency, Hz
    double _fs = 0.0;             // sampling frequency, Hz; no solver reads it
    double _soundspeed = 0.0;     // speed of sound, m/s
    double _dBcmMHz = 0.0;        // attenuation coefficient, dB/(cm MHz^y)
    double _powerlawcoeff = 0.0;  // kept for who reads it; no solver does
    double _rho_density = 0.0;    // density, kg/m^3
    double _ct = 0.0;             // specific heat, J/(kg K)
    double _cb = 0.0;             // specific heat of blood, J/(kg K)
    double _wb = 0.0;             // blood perfusion, kg/(m^3 s)
    double _b = 0.0;              // power-law exponent y; 0, the default, counts as 1
    double _kappa = 0.0;          // thermal conductivity, W/(m K)
    double _beta = 0.0;           // nonlinearity parameter, 1 + B/(2A)
    // Hz, where the phase speed is _soundspeed; 0, the default, is the drive's centre frequency.
    double _reference_frequency = 0.0;

    // Prints every member but the specific heat of blood and the reference frequency, one line
    // each.
    void mexDebug() const;
};

}  // namespace kavro
