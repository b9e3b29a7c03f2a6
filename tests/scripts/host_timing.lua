-- Stopwatches from a script: misuse is reported and the script goes on;
-- TimePrint lists the stopwatches in the order of their first start.
-- Only stopwatches that never finished a run are printed, so every total
-- is 0:00:00 however slow the machine.
TimeEnd("x")
TimeStart("x")
TimeStart("x")
TimeStart("solver")
TimeStart("a very long stopwatch name with blanks")
TimePrint()
TimeEnd("x")
TimeEnd("x")
-- Verbosity(0) silences progress messages only: the timing messages are
-- printed whatever the mask.
Verbosity(0)
TimeEnd("never")
Verbosity(15)
print("done")
