_kd=%1
if len(_kd)!=%2%3:
 raise ValueError('__LOST__')
if _kn==%4:
 _kf.write(_kd)
 _kn+=len(_kd)
print('__OK__')