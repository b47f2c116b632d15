def count(limit):
    n = 0
    try:
        while n < limit:
            yield n
            n += 1
    finally:
        print('closed at', n)

def pairs(items):
    items = list(items)
    yield from zip(items, items[1:])

total = 0
for n in count(3):
    total += n
print(total, list(pairs(count(4))), sum(x * x for x in count(3)))
first = count(9)
print(next(first))
first.close()
#! breakpoints 5
#> 5 c  n=0  limit=3
#> 5 s  n=1  total=0
#> 16 s  n=1  total=0
#> 6 c  n=1  total=1
#> 5 q  n=2
