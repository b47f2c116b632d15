if not _kd:
 _kd=bytearray(512)
_kb=1
for _ki in range(%1):
 _kb=_kf.readinto(_kd)
 if not _kb:
  break
 _kn+=_kb
 %2
print('__HASH__%d %d '%(_kn,0 if _kb else 1)+(%3))
