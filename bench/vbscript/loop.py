total = 0
n = 0
for i in range(1, 1000001):
    total = total + (i * 3) % 7
    s = "item" + str(i)
    n = n + len(s)
result = total + n
