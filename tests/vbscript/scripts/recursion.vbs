Sub Forever(n)
  Forever n + 1
End Sub
MsgBox "start"
Forever 1
