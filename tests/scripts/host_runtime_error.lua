-- expect-status: 1
-- A run-time error: the message goes to the standard error, after what
-- the script printed.
print("before")
error("boom")
print("never")
