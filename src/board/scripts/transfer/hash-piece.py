for _ki in range(%1):
 _kd=_kf.read(512)
 if not _kd:
  break
 _kn+=len(_kd)
 %2
print('__HASH__%d %d '%(_kn,0 if _kd else 1)+(%3))