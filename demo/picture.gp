# SPDX-License-Identifier: Apache-2.0
# gnuplot -c picture.gp PLAYED PNG FIRST-TITLE SECOND-TITLE RECORDED INPUT-TITLE CALL-TITLE: draws
# the two played streams at their positions in time, the server's output, and the two recordings.
# PLAYED is the output of cabinaudio-placement, RECORDED that of cabinaudio-recordcheck.
set terminal pngcairo size 1200,1150 font "sans,11" background "#ffffff"
set output ARG2
stats ARG1 index 2 using 1 nooutput name "TIME_"
stats ARG1 index 2 using 3 nooutput name "HIGH_"
stats ARG1 index 2 using 2 nooutput name "LOW_"
stats ARG5 using 1 nooutput name "RECORDED_"
stats ARG5 using 3 nooutput name "LOUD_"
larger(a, b) = (a > b ? a : b)
peak = larger(larger(HIGH_max, -LOW_min), LOUD_max)
if (peak == 0) { peak = 1 }
set xrange [0:larger(TIME_max, RECORDED_max)]
set yrange [-1.1 * peak:1.1 * peak]
set ytics 0.25 format "%.2f"
set grid xtics ytics lc rgb "#d8dce2"
set border 3 lc rgb "#6b7280"
set tics nomirror
unset key
set multiplot layout 5,1 margins 0.07,0.985,0.05,0.97 spacing 0.02,0.05
set title ARG3 noenhanced offset 0,-0.6
plot ARG1 index 0 using 1:2:3 with filledcurves fc rgb "#2f6fb2"
set title ARG4 noenhanced
plot ARG1 index 1 using 1:2:3 with filledcurves fc rgb "#c8762b"
set title "what the server heard: heard.wav"
plot ARG1 index 2 using 1:2:3 with filledcurves fc rgb "#3a7d44"
set title sprintf("%s: recorded.wav", ARG6) noenhanced
plot ARG5 index 0 using 1:2:3 with filledcurves fc rgb "#7a4f9a"
set title sprintf("%s: call.opus", ARG7) noenhanced
set xlabel "seconds" offset 0,0.6
plot ARG5 index 1 using 1:2:3 with filledcurves fc rgb "#b23a48"
unset multiplot
