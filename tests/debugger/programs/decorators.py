def logged(prefix):
    def decorate(f):
        def wrapped(*args, **kw):
            result = f(*args, **kw)
            print(prefix, args, kw, '->', result)
            return result
        return wrapped
    return decorate

@logged('add')
@logged('inner')
def add(a, b=1):
    return a + b

add(2)
add(2, b=5)
#! breakpoints 10 5
#> 13 s  a=2  b=1
#> 5 s  args=(2,)  kw={}  result=3  !prefix
#> 6 s  result=3
#> 5 c  result=3
#> 13 c  a=2  b=5
#> 5 c  kw={'b': 5}  result=7  !prefix
#> 5 c  kw={'b': 5}  result=7
