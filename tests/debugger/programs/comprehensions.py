squares = [x * x for x in range(6) if x % 2]
names = {n: len(n) for n in ('a', 'bb', 'ccc')}
unique = {c for c in 'hello'}
grid = [
    [r * c for c in range(3)]
    for r in range(2)
]
print(squares, sorted(names.items()), sorted(unique))
print(grid, sum(sum(row) for row in grid))
#! breakpoints 5
#> 8 s  squares=[1, 9, 25]  grid=[[0, 0, 0], [0, 1, 2]]
#> 9 s
