import gc
gc.collect()
print('__FREE__%d'%gc.mem_free())
