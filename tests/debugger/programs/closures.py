def counter(start):
    value = start
    def step(by=1):
        nonlocal value
        value += by
        return value
    return step

one, two = counter(0), counter(10)
print(one(), one(), two(5), one(2), two())
adders = [lambda x, n=n: x + n for n in range(3)]
print([f(10) for f in adders])
#! breakpoints 5
#> 5 s  by=1  !value
#> 6 c  by=1  value=1
#> 5 c  by=1
#> 5 s  by=5
#> 6 c  by=5  value=15
#> 5 c  by=2
#> 5 c  by=1
