// One lane of each four-wide single-precision function, as scalar code.
#pragma once

namespace kavro_oracle {

float exp_lane(float x);
float log_lane(float x);
float sin_lane(float x);
float cos_lane(float x);
void sincos_lane(float x, float* s, float* c);
void complex_exp_lane(float re, float im, float* out_re, float* out_im);

}  // namespace kavro_oracle
