def fact(n):
    if n < 2:
        return 1
    below = fact(n - 1)
    return n * below

for i in range(3):
    print(i, fact(i))
#! breakpoints 3 7
#> 8 s  i=0
#> 3 s  n=0
#> 8 s  i=1
#> 3 c  n=1
#> 8 s  i=2
#> 4 s  n=2
#> 3 s  n=1
#> 5 c  n=2  below=1
