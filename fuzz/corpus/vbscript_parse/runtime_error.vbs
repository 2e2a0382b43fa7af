MsgBox "before"
Dim x
  x = 1 / 0
MsgBox "after"
