function check_count(caller, got, range, names)
% CHECK_COUNT  Stop when a function was called with too few or too many arguments.
%   CHECK_COUNT(caller, got, [least most], names) says how many it takes, and which.
least = range(1);
most = range(end);
if got >= least && got <= most
    return
end
if isinf(most)
    takes = sprintf('at least %d', least);
elseif least == most
    takes = sprintf('%d', least);
else
    takes = sprintf('%d to %d', least, most);
end
words = {'argument', 'arguments'};
word = words{1 + ~(least == 1 && any(most == [1 Inf]))};
error('kavro:argument', '%s: it takes %s %s (%s), but it got %d.', ...
      caller, takes, word, names, got);
end
