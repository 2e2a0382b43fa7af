Dim lines(99999), i, text, parts, line, count, fields, replaced, joined
For i = 0 To 99999
    lines(i) = "line " & i & ",alpha,beta,gamma"
Next
text = Join(lines, vbLf)
parts = Split(text, vbLf)
count = 0
For Each line In parts
    If InStr(line, "beta") > 0 Then count = count + 1
    fields = Split(line, ",")
Next
replaced = Replace(text, "alpha", "ALPHA")
joined = Join(parts, ";")
result = count + Len(replaced) + Len(joined)
