function vectors = unit_rows(vectors)
% UNIT_ROWS  Vectors, one in each row, of the length 1; those of 0 stay.
lengths = sqrt(sum(vectors .^ 2, 2));
vectors = vectors ./ repmat(max(lengths, realmin), 1, size(vectors, 2));
end
