# Error and cost against tolerance: from the printout of kavro_bench --tolerance (variable `data`) to a
# PNG (variable `picture`). Each scene has three blocks: wave, pulse, pulse in single precision.
set terminal pngcairo size 1100,900 font "sans,12"
set output picture
set multiplot layout 2,2 margins 0.085,0.985,0.065,0.955 spacing 0.085,0.12
set logscale xy
set format "10^{%L}"
set grid xtics ytics lt 1 lw 1 lc rgb "#dddddd"
unset mxtics
unset mytics
set xlabel "tolerance"
scenes = "'64 discs of 0.13 mm, 3 MHz' '64 rectangles 0.27 x 5 mm, 5 MHz' 'disc of 5 mm, 1 MHz' 'bowl 32/63 mm, 1.1 MHz'"
colors = "#0b5394 #cc4125 #38761d #674ea7"
what = "'continuous wave' 'Hanning pulse'"
of(scene, block) = 3 * (scene - 1) + block - 1
do for [i=1:2] {
    set title "What is left: ".word(what, i)
    set ylabel "largest error, of the element's field"
    set xrange [i == 1 ? 3e-1 : 2e-1 : i == 1 ? 3e-11 : 5e-7]
    set yrange [i == 1 ? 1e-13 : 1e-8 : 1]
    set ytics 100
    set key bottom left reverse Left
    plot x with lines dashtype 2 lc rgb "#888888" title "the tolerance", \
        for [k=1:4] data index of(k, i) using 1:2 with linespoints pt 7 lw 2 lc rgb word(colors, k) \
            title word(scenes, k)
    set title "What it costs: ".word(what, i)
    set ylabel "ns of CPU per point and element"
    set yrange [i == 1 ? 10 : 100 : i == 1 ? 1000 : 40000]
    set ytics 10
    set key top left reverse Left
    plot for [k=1:4] data index of(k, i) using 1:6 with linespoints pt 7 lw 2 lc rgb word(colors, k) notitle, \
        for [k=1:4] data index of(k, i) using 1:7 with linespoints pt 6 dashtype 2 lc rgb word(colors, k) \
            notitle, \
        for [k=1:4*(i-1)] data index of(k, 3) using 1:6 with linespoints pt 8 lc rgb word(colors, k) \
            notitle, \
        NaN with linespoints pt 7 lw 2 lc rgb "#444444" title "by tolerance", \
        NaN with linespoints pt 6 dashtype 2 lc rgb "#444444" title "by the one ndiv that keeps it everywhere", \
        for [j=1:i-1] NaN with linespoints pt 8 lc rgb "#444444" title "by tolerance, in single precision"
}
