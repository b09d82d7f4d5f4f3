# CPU time against each quantity: from the printout of kavro_bench --scaling (variable `data`) to a
# PNG (variable `picture`).
set terminal pngcairo size 1100,760 font "sans,13"
set output picture
set logscale xy
set format x "10^{%L}"
set format y "10^{%L}"
set grid xtics ytics lc rgb "#dddddd"
set key top left reverse Left
set xlabel "points, samples, abscissas, elements or terms"
set ylabel "CPU time of one call, s"
set title "Cost against one quantity at a time; dashed: proportional"
# Straight lines of slope 1 through the last point of each curve.
do for [i=0:4] {
    stats data index i using 1:2 nooutput
    eval sprintf("x%d = %.9g; y%d = %.9g", i, STATS_max_x, i, STATS_max_y)
}
slope_one(x, X, Y) = x <= X && x >= X / 30 ? Y * x / X : 1/0
set samples 400
plot [0.8:1e5] [1e-3:6] \
    for [i=0:4] slope_one(x, value(sprintf("x%d", i)), value(sprintf("y%d", i))) \
        with lines dashtype 2 lw 1 lc rgb "#888888" notitle, \
    data index 0 using 1:2 with linespoints pt 7 lw 2 lc rgb "#0b5394" title "points", \
    data index 1 using 1:2 with linespoints pt 5 lw 2 lc rgb "#cc4125" title "samples (sampling rate)", \
    data index 2 using 1:2 with linespoints pt 9 lw 2 lc rgb "#38761d" title "abscissas", \
    data index 3 using 1:2 with linespoints pt 13 lw 2 lc rgb "#674ea7" title "elements", \
    data index 4 using 1:2 with linespoints pt 11 lw 2 lc rgb "#b45f06" title "terms"
