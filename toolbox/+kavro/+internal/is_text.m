function yes = is_text(value)
% IS_TEXT  True for one line of text (a char row).
yes = ischar(value) && size(value, 1) == 1;
end
