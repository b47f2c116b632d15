if _kn+len(_kd)<=%1:
 _kn+=len(_kd)
 _kd=_kf.read(%2)
_kp=_kd[%1-_kn:%1-_kn+%2]
print('__PIECE__%d %d'%(len(_kp),%3),%4)