text = """One
 (two ' # not a comment
def three(): \""" """
raw = r'\d"' "joined" \
    'with "quotes" and # sign'
big = 'ä' * 700
call = max(
    len(text),  # (
    len(big),
)
print(text); print(raw, call)
print(f'{call:05d}', '%s' % text.split('\n')[0], big[-3:])
#! breakpoints 2 8
#> 4 s  text='One\n (two \' # not a comment\ndef three(): """ '
#> 6 s
#> 7 s
#> 11 s  call=700
#> 12 c  call=700
