function text = quoted_list(names)
% QUOTED_LIST  Write a cell array of names as 'a', 'b', 'c'.
text = sprintf('''%s'', ', names{:});
text = text(1:end - 2);
end
