# Plots the instructions of a commit over the size of the configuration. Variables: data, a file with the columns
# handlers, tool and floor; picture, the output file.
set terminal svg size 720,440 font "sans-serif,13" background "white"
set output picture
set title "A commit of one addition"
set xlabel "handlers in the configuration"
set ylabel "instructions"
set logscale xy
set format x "%.0s %c"
set format y "%.0s %c"
set grid
set key left top
plot data using 1:2 title "tool" with linespoints linewidth 2 pointtype 7, \
     data using 1:3 title "floor" with linespoints linewidth 2 pointtype 7
