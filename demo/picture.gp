# SPDX-License-Identifier: Apache-2.0
# gnuplot -c picture.gp ENVELOPES PNG FIRST-TITLE SECOND-TITLE: the two streams, each at its place
# in time, and what became of them. ENVELOPES is what cabinaudio-wavcheck has written.
set terminal pngcairo size 1200,720 font "sans,11" background "#ffffff"
set output ARG2
stats ARG1 index 2 using 1 nooutput name "TIME_"
stats ARG1 index 2 using 3 nooutput name "HIGH_"
stats ARG1 index 2 using 2 nooutput name "LOW_"
peak = (HIGH_max > -LOW_min ? HIGH_max : -LOW_min)
if (peak == 0) { peak = 1 }
set xrange [0:TIME_max]
set yrange [-1.1 * peak:1.1 * peak]
set ytics 0.25 format "%.2f"
set grid xtics ytics lc rgb "#d8dce2"
set border 3 lc rgb "#6b7280"
set tics nomirror
unset key
set multiplot layout 3,1 margins 0.07,0.985,0.08,0.95 spacing 0.02,0.075
set title ARG3 noenhanced offset 0,-0.6
plot ARG1 index 0 using 1:2:3 with filledcurves fc rgb "#2f6fb2"
set title ARG4 noenhanced
plot ARG1 index 1 using 1:2:3 with filledcurves fc rgb "#c8762b"
set title "what the server heard: heard.wav"
set xlabel "seconds" offset 0,0.6
plot ARG1 index 2 using 1:2:3 with filledcurves fc rgb "#3a7d44"
unset multiplot
