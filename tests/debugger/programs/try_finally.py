def risky(kind):
    try:
        if kind == 'raise':
            raise ValueError('bad')
        if kind == 'return':
            return 'returned'
        print('fine')
    except ValueError as e:
        print('caught', e)
        return 'handled'
    else:
        print('else')
    finally:
        print('finally', kind)
    return 'end'

for kind in ('raise', 'return', 'fall'):
    print(risky(kind))
#! breakpoints 9 14
#> 9 s  kind='raise'  e=ValueError('bad',)
#> 10 s
#> 14 c  kind='raise'
#> 14 c  kind='return'
#> 14 s  kind='fall'
#> 15 s
