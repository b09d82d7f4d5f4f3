function centers = element_centers(elements)
% ELEMENT_CENTERS  The centres of an array of elements as an n x 3 matrix, in metres.
centers = zeros(numel(elements), 3);
for i = 1:numel(elements)
    centers(i, :) = elements(i).center(:).';
end
end
