def divide(a, b):
    return a / b

def average(values):
    total = 0
    for v in values:
        total += v
    return divide(total, len(values))

print(average([1, 2, 3]))
print(average([]))
print('never printed')
#! breakpoints 8
#> 8 c  total=6  v=3  values=[1, 2, 3]
#> 8 s  total=0  values=[]
#> 2 s  a=0  b=0
