lines = ["line " + str(i) + ",alpha,beta,gamma" for i in range(100000)]
text = "\n".join(lines)
parts = text.split("\n")
count = 0
for line in parts:
    if line.find("beta") >= 0:
        count += 1
    fields = line.split(",")
replaced = text.replace("alpha", "ALPHA")
joined = ";".join(parts)
result = count + len(replaced) + len(joined)
