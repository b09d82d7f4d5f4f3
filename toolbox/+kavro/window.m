function w = window(name, n, parameter)
% WINDOW  Weights that fall off towards both ends, for the apodization of an array.
%
%   w = kavro.window(name, n)
%   w = kavro.window('tukey', n, share)
%   w = kavro.window('gaussian', n, width)
%
%   With u from -1 (first) to 1 (last):
%
%     'rectangular'   1
%     'cosine'        cos(pi u / 2)
%     'hann'          0.5 + 0.5 cos(pi u)
%     'hamming'       0.54 + 0.46 cos(pi u)
%     'blackman'      0.42 + 0.5 cos(pi u) + 0.08 cos(2 pi u)
%     'tukey'         1 in the middle, and a cosine's flank over the given share of the whole,
%                     half of it at either end; default 0.5. 0 is rectangular, 1 is hann
%     'gaussian'      exp(-(u / width)^2 / 2); default 0.4
%
%   Arguments
%     name  one of these
%     n     number of weights, 1 or more; a single one is 1
%
%   Result
%     w     n x 1, symmetric, at most 1
%
%   Example
%     elements = kavro.linear_array(64, 0.4e-3, 0.18e-3);
%     elements = kavro.set_amplitudes(elements, 0.05 * kavro.window('hamming', 64));
%
%   See also kavro.set_amplitudes, kavro.linear_array

me = 'window';
kavro.internal.check_count(me, nargin, [2 3], 'name, n, parameter');
names = {'rectangular', 'cosine', 'hann', 'hamming', 'blackman', 'tukey', 'gaussian'};
name = kavro.internal.choose(me, 'name', kavro.internal.to_char(name), names);
n = kavro.internal.whole_number(me, 'n', n, [1 Inf]);
ok = nargin < 3 || any(strcmp(name, {'tukey', 'gaussian'}));
kavro.internal.check(ok, me, 'name', name, '''tukey'' or ''gaussian'' where a parameter is given');
% Both halves alike to the last bit.
u = ((0:n - 1).' - (n - 1) / 2) / max((n - 1) / 2, 1);
switch name
    case 'rectangular'
        w = ones(n, 1);
    case 'cosine'
        w = cos(pi * u / 2);
    case 'hann'
        w = 0.5 + 0.5 * cos(pi * u);
    case 'hamming'
        w = 0.54 + 0.46 * cos(pi * u);
    case 'blackman'
        w = 0.42 + 0.5 * cos(pi * u) + 0.08 * cos(2 * pi * u);
    case 'tukey'
        share = 0.5;
        if nargin == 3
            share = kavro.internal.real_number(me, 'share', parameter, 'not negative', '');
            kavro.internal.check(share <= 1, me, 'share', share, 'from 0 to 1');
        end
        w = ones(n, 1);
        flank = abs(u) > 1 - share;
        w(flank) = 0.5 + 0.5 * cos(pi * (abs(u(flank)) - 1 + share) / share);
    case 'gaussian'
        width = 0.4;
        if nargin == 3
            width = kavro.internal.real_number(me, 'width', parameter, 'positive', '');
        end
        w = exp(-(u / width) .^ 2 / 2);
end
w = max(w, 0);
end
