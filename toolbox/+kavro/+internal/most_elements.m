function n = most_elements()
% MOST_ELEMENTS  How many elements a maker makes: their records take 500 bytes each, 2 GB in all.
n = 4e6;
end
