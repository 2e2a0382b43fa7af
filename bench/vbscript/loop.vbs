Dim i, total, s, n
total = 0 : n = 0
For i = 1 To 1000000
    total = total + (i * 3) Mod 7
    s = "item" & i
    n = n + Len(s)
Next
result = total + n
